#include "support/traced_stops.h"

#include <sys/wait.h>

#include <string>

#include "sim/error.h"

namespace support {
namespace {

sigset_t childSignal() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGCHLD);
  return set;
}

void waitForChildSignal(const sim::Deadline& deadline) {
  const sigset_t set = childSignal();
  const int left = deadline.millisecondsLeft();
  const timespec time{.tv_sec = left / 1000, .tv_nsec = left % 1000 * 1'000'000L};
  ::sigtimedwait(&set, nullptr, &time);
}

}  // namespace

void* asPointer(unsigned long number) {
  return reinterpret_cast<void*>(number);  // NOLINT(performance-no-int-to-ptr)
}

unsigned eventOf(int waitStatus) {
  return static_cast<unsigned>(waitStatus) >> 16U;
}

unsigned long signalOf(int waitStatus) {
  const int signal = WSTOPSIG(waitStatus);
  return eventOf(waitStatus) != 0 || signal == stoppedInCall ? 0 : static_cast<unsigned long>(signal);
}

TracedStops::TracedStops() {
  const sigset_t set = childSignal();
  ::sigprocmask(SIG_BLOCK, &set, &formerMask_);
}

TracedStops::~TracedStops() {
  ::sigprocmask(SIG_SETMASK, &formerMask_, nullptr);
}

int TracedStops::waitFor(pid_t process, const sim::Deadline& deadline) {
  int status = 0;
  while (::waitpid(process, &status, WNOHANG | __WALL) == 0) {
    if (deadline.passed()) {
      throw sim::TimedOut("the next stop of process " + std::to_string(process));
    }
    waitForChildSignal(deadline);
  }
  return status;
}

}  // namespace support
