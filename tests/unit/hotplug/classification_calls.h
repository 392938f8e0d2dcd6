#pragma once

#include <sys/time.h>

#include <ctime>

#include "support/replaceable_call.h"

/** The library calls by which classification waits, and sees the wall clock where it looks at it. */
namespace library {

extern support::ReplaceableCall<int(timeval* now, void* zone)> gettimeofday;
extern support::ReplaceableCall<int(const timespec* request, timespec* remaining)> nanosleep;

}  // namespace library
