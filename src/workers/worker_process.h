#pragma once

#include <sys/types.h>

#include "ctrl/signals.h"
#include "workers/worker_arguments.h"

/** What becomes of a worker when the daemon ends. */
enum class Orphan { livesOn, isTerminated };

/**
 * Creates the process of a worker and returns its id. The process is the worker then, or is about to end. Throws "fork()". A
 * program that cannot be executed ends the daemon (see signals.h), but not before the held signals are let go.
 */
pid_t createWorker(const HeldSignals& held, WorkerArguments arguments, Orphan orphan);
