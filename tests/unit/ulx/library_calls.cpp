#include "unit/ulx/library_calls.h"

#include <cstdarg>

#include "support/wrapped_call.h"

WRAPPED_CALL(int, nanosleep, nanosleep, (const timespec* request, timespec* remaining), (request, remaining))
WRAPPED_CALL(int, select, select,
             (int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout),
             (count, reads, writes, excepts, timeout))
WRAPPED_CALL(ssize_t, write, write, (int fd, const void* buffer, std::size_t length), (fd, buffer, length))
WRAPPED_CALL(int, close, close, (int fd), (fd))
WRAPPED_CALL(int, execve, execve, (const char* path, char* const* arguments, char* const* environment),
             (path, arguments, environment))
WRAPPED_CALL(int, sigaction, sigaction, (int signal, const struct sigaction* action, struct sigaction* old),
             (signal, action, old))
WRAPPED_CALL(int, mutexInit, pthread_mutex_init,
             (pthread_mutex_t * mutex, const pthread_mutexattr_t* attributes), (mutex, attributes))
WRAPPED_CALL(int, mutexLock, pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
WRAPPED_CALL(int, mutexUnlock, pthread_mutex_unlock, (pthread_mutex_t * mutex), (mutex))
WRAPPED_CALL(int, mutexDestroy, pthread_mutex_destroy, (pthread_mutex_t * mutex), (mutex))

// The names of readdir and fcntl where files are large.
WRAPPED_CALL(dirent*, readdir, readdir64, (DIR * stream), (stream))

// fcntl takes any third argument, so it is wrapped by hand.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cert-dcl50-cpp)
extern "C" int __real_fcntl64(int fd, int command, ...);

constinit support::ReplaceableCall<int(int, int, long)> library::fcntl([](int fd, int command,
                                                                          long argument) {
  return __real_fcntl64(fd, command, argument);
});

extern "C" int __wrap_fcntl64(int fd, int command, ...) {
  std::va_list arguments;
  va_start(arguments, command);
  const long argument = va_arg(arguments, long);
  va_end(arguments);
  return library::fcntl(fd, command, argument);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cert-dcl50-cpp)
