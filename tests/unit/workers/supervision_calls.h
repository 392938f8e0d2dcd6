#pragma once

#include <sys/time.h>
#include <sys/types.h>

#include <ctime>

#include "support/replaceable_call.h"

/** The library calls by which supervision sees its children and the time, and waits. */
namespace library {

extern support::ReplaceableCall<pid_t(pid_t child, int* status, int options)> waitpid;
extern support::ReplaceableCall<int(timeval* now, void* zone)> gettimeofday;
extern support::ReplaceableCall<int(const timespec* request, timespec* remaining)> nanosleep;

}  // namespace library
