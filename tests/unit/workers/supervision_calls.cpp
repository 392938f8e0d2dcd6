#include "unit/workers/supervision_calls.h"

#include "support/wrapped_names.h"

// The names are the linker's: --wrap=NAME makes calls of NAME calls of __wrap_NAME, and __real_NAME the NAME.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
pid_t __real_waitpid(pid_t child, int* status, int options);
int __real_gettimeofday(timeval* now, void* zone);
int __real_nanosleep(const timespec* request, timespec* remaining);
}

namespace library {

constinit support::ReplaceableCall<pid_t(pid_t, int*, int)> waitpid(__real_waitpid);
constinit support::ReplaceableCall<int(timeval*, void*)> gettimeofday(__real_gettimeofday);
constinit support::ReplaceableCall<int(const timespec*, timespec*)> nanosleep(__real_nanosleep);

}  // namespace library

extern "C" {

pid_t __wrap_waitpid(pid_t child, int* status, int options) {
  return library::waitpid(child, status, options);
}

int __wrap_gettimeofday(timeval* now, void* zone) {
  return library::gettimeofday(now, zone);
}

int __wrap_nanosleep(const timespec* request, timespec* remaining) {
  return library::nanosleep(request, remaining);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
