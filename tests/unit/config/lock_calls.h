#pragma once

#include <ctime>

#include "support/replaceable_call.h"

/** The library calls whose number and order make the rule by which a lock is tried for. */
namespace library {

extern support::ReplaceableCall<int(int fd, int operation)> flock;
extern support::ReplaceableCall<int(const timespec*, timespec*)> nanosleep;

}  // namespace library
