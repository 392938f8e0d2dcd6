#pragma once

#include <dirent.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/types.h>

#include <csignal>
#include <cstddef>
#include <ctime>

#include "support/replaceable_call.h"

/** The library calls of ulx whose exact arguments, or whose failures, only a replacement can show. */
namespace library {

extern support::ReplaceableCall<int(const timespec*, timespec*)> nanosleep;
extern support::ReplaceableCall<int(int, fd_set*, fd_set*, fd_set*, timeval*)> select;
extern support::ReplaceableCall<ssize_t(int, const void*, std::size_t)> write;
extern support::ReplaceableCall<int(int)> close;
extern support::ReplaceableCall<int(const char*, char* const*, char* const*)> execve;
extern support::ReplaceableCall<dirent*(DIR*)> readdir;
/** fcntl with an integer as its argument. */
extern support::ReplaceableCall<int(int, int, long)> fcntl;
extern support::ReplaceableCall<int(int, const struct sigaction*, struct sigaction*)> sigaction;
extern support::ReplaceableCall<int(pthread_mutex_t*, const pthread_mutexattr_t*)> mutexInit;
extern support::ReplaceableCall<int(pthread_mutex_t*)> mutexLock;
extern support::ReplaceableCall<int(pthread_mutex_t*)> mutexUnlock;
extern support::ReplaceableCall<int(pthread_mutex_t*)> mutexDestroy;

}  // namespace library
