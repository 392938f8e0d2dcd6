#pragma once

#include <sys/types.h>

#include "workers/worker_arguments.h"

/** What becomes of a worker when the daemon ends. */
enum class Orphan { livesOn, isTerminated };

/**
 * Creates the process of a worker and returns its id, once the process is the worker or has ended. Throws "fork()". A
 * program that cannot be executed ends the daemon (see signals.h).
 */
pid_t createWorker(WorkerArguments arguments, Orphan orphan);
