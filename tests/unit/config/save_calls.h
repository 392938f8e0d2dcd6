#pragma once

#include <sys/types.h>

#include "support/replaceable_call.h"

/** The library calls whose order makes a save safe, and those that a disk lets fail only by chance. */
namespace library {

extern support::ReplaceableCall<int(int fd)> fsync;
extern support::ReplaceableCall<int(const char* from, const char* to)> rename;
extern support::ReplaceableCall<void()> sync;
extern support::ReplaceableCall<pid_t()> getpid;

}  // namespace library
