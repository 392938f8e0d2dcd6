#include "unit/config/save_calls.h"

#include "support/wrapped_names.h"

// The names are the linker's: --wrap=NAME makes calls of NAME calls of __wrap_NAME, and __real_NAME the NAME.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
int __real_fsync(int fd);
int __real_rename(const char* from, const char* to);
void __real_sync();
pid_t __real_getpid();
}

namespace library {

constinit support::ReplaceableCall<int(int)> fsync(__real_fsync);
constinit support::ReplaceableCall<int(const char*, const char*)> rename(__real_rename);
constinit support::ReplaceableCall<void()> sync(__real_sync);
constinit support::ReplaceableCall<pid_t()> getpid(__real_getpid);

}  // namespace library

extern "C" {

int __wrap_fsync(int fd) {
  return library::fsync(fd);
}

int __wrap_rename(const char* from, const char* to) {
  return library::rename(from, to);
}

void __wrap_sync() {
  library::sync();
}

pid_t __wrap_getpid() {
  return library::getpid();
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
