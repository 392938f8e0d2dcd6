#include "sim/process_handle.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace sim {

// The C library's own declarations of these calls are not usable from C++ in all its versions.

ProcessHandle::ProcessHandle(pid_t process) : fd_(static_cast<int>(::syscall(SYS_pidfd_open, process, 0U))) {}

void ProcessHandle::signal(int number) const {
  static_cast<void>(::syscall(SYS_pidfd_send_signal, fd_.get(), number, nullptr, 0U));
}

Descriptor ProcessHandle::shareFile(int number) const {
  return Descriptor(static_cast<int>(::syscall(SYS_pidfd_getfd, fd_.get(), number, 0U)));
}

}  // namespace sim
