#include "unit/config/lock_calls.h"

#include "support/wrapped_names.h"

// The names are the linker's: --wrap=NAME makes calls of NAME calls of __wrap_NAME, and __real_NAME the NAME.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
int __real_flock(int fd, int operation);
int __real_nanosleep(const timespec* request, timespec* remaining);
}

namespace library {

constinit support::ReplaceableCall<int(int, int)> flock(__real_flock);
constinit support::ReplaceableCall<int(const timespec*, timespec*)> nanosleep(__real_nanosleep);

}  // namespace library

extern "C" {

int __wrap_flock(int fd, int operation) {
  return library::flock(fd, operation);
}

int __wrap_nanosleep(const timespec* request, timespec* remaining) {
  return library::nanosleep(request, remaining);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
