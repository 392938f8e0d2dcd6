// Runs a program that gets no system call that Linux 2.6.32 does not have: usb_rx_old_kernel PROGRAM [ARGUMENT...]
// The words of SIM_PROGRAM_PREFIX may begin with it.

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "sim/old_kernel.h"

namespace {

constexpr int cannotRun = 127;

/** A call of Linux 3.17 that always succeeds where it is there. */
bool hasNewCall() {
  return ::syscall(SYS_getrandom, nullptr, 0, 0) == 0 || errno != ENOSYS;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc < 2) {
    std::fputs("Usage: usb_rx_old_kernel PROGRAM [ARGUMENT...]\n", stderr);
    return cannotRun;
  }
  if (!sim::limitSystemCallsToLinux2632()) {
    std::perror("usb_rx_old_kernel: the kernel takes no filter");
    return cannotRun;
  }
  if (hasNewCall()) {
    std::fputs("usb_rx_old_kernel: the filter has no effect\n", stderr);
    return cannotRun;
  }
  ::execv(argv[1], argv + 1);
  std::perror(argv[1]);
  return cannotRun;
}
