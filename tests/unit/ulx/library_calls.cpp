#include "unit/ulx/library_calls.h"

#include <cstdarg>

#include "support/wrapped_names.h"

// The names are the linker's: --wrap=NAME makes calls of NAME calls of __wrap_NAME, and __real_NAME the NAME.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cert-dcl50-cpp)
extern "C" {
int __real_nanosleep(const timespec* request, timespec* remaining);
int __real_select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout);
ssize_t __real_write(int fd, const void* buffer, std::size_t length);
int __real_close(int fd);
dirent* __real_readdir64(DIR* stream);
int __real_fcntl64(int fd, int command, ...);
int __real_sigaction(int signal, const struct sigaction* action, struct sigaction* old);
int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __real_pthread_mutex_destroy(pthread_mutex_t* mutex);
}

namespace {

int fcntlWithInteger(int fd, int command, long argument) {
  return __real_fcntl64(fd, command, argument);
}

}  // namespace

namespace library {

constinit support::ReplaceableCall<int(const timespec*, timespec*)> nanosleep(__real_nanosleep);
constinit support::ReplaceableCall<int(int, fd_set*, fd_set*, fd_set*, timeval*)> select(__real_select);
constinit support::ReplaceableCall<ssize_t(int, const void*, std::size_t)> write(__real_write);
constinit support::ReplaceableCall<int(int)> close(__real_close);
constinit support::ReplaceableCall<dirent*(DIR*)> readdir(__real_readdir64);
constinit support::ReplaceableCall<int(int, int, long)> fcntl(fcntlWithInteger);
constinit support::ReplaceableCall<int(int, const struct sigaction*, struct sigaction*)> sigaction(
    __real_sigaction);
constinit support::ReplaceableCall<int(pthread_mutex_t*, const pthread_mutexattr_t*)> mutexInit(
    __real_pthread_mutex_init);
constinit support::ReplaceableCall<int(pthread_mutex_t*)> mutexLock(__real_pthread_mutex_lock);
constinit support::ReplaceableCall<int(pthread_mutex_t*)> mutexUnlock(__real_pthread_mutex_unlock);
constinit support::ReplaceableCall<int(pthread_mutex_t*)> mutexDestroy(__real_pthread_mutex_destroy);

}  // namespace library

extern "C" {

int __wrap_nanosleep(const timespec* request, timespec* remaining) {
  return library::nanosleep(request, remaining);
}

int __wrap_select(int count, fd_set* reads, fd_set* writes, fd_set* excepts, timeval* timeout) {
  return library::select(count, reads, writes, excepts, timeout);
}

ssize_t __wrap_write(int fd, const void* buffer, std::size_t length) {
  return library::write(fd, buffer, length);
}

int __wrap_close(int fd) {
  return library::close(fd);
}

// What readdir and fcntl are called where files are large.
dirent* __wrap_readdir64(DIR* stream) {
  return library::readdir(stream);
}

int __wrap_fcntl64(int fd, int command, ...) {
  std::va_list arguments;
  va_start(arguments, command);
  const long argument = va_arg(arguments, long);
  va_end(arguments);
  return library::fcntl(fd, command, argument);
}

int __wrap_sigaction(int signal, const struct sigaction* action, struct sigaction* old) {
  return library::sigaction(signal, action, old);
}

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
  return library::mutexInit(mutex, attributes);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  return library::mutexLock(mutex);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  return library::mutexUnlock(mutex);
}

int __wrap_pthread_mutex_destroy(pthread_mutex_t* mutex) {
  return library::mutexDestroy(mutex);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cert-dcl50-cpp)
