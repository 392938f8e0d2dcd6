#pragma once

#include <iniparser.h>
#include <sys/types.h>

#include <cstdio>
#include <ctime>

#include "support/replaceable_call.h"

/** The library calls whose number and order are rules of the store, and those that fail only by chance. */
namespace library {

extern support::ReplaceableCall<int(int fd, int operation)> flock;
extern support::ReplaceableCall<int(const timespec*, timespec*)> nanosleep;
extern support::ReplaceableCall<int(int fd)> fsync;
extern support::ReplaceableCall<int(const char* from, const char* to)> rename;
extern support::ReplaceableCall<void()> sync;
extern support::ReplaceableCall<pid_t()> getpid;
extern support::ReplaceableCall<int(int fd, uid_t owner, gid_t group)> fchown;
extern support::ReplaceableCall<int(int fd, mode_t mode)> fchmod;
/** iniparser's writer of the INI text. */
extern support::ReplaceableCall<void(const dictionary*, FILE*)> dumpIni;

}  // namespace library
