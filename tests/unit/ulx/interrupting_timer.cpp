#include "unit/ulx/interrupting_timer.h"

#include <unistd.h>

#include <cerrno>

namespace {

constexpr int writingCount = 3;
constexpr suseconds_t intervalMicroseconds = 5000;

volatile std::sig_atomic_t signals = 0;
volatile std::sig_atomic_t target = -1;

void onAlarm(int /*signal*/) {
  const int savedErrno = errno;
  signals = signals + 1;
  if (signals == writingCount && target != -1 && write(target, "!", 1) == -1) {
    // The wait goes on and the test runs into its time limit.
  }
  errno = savedErrno;
}

void setTimer(suseconds_t microseconds) {
  const timeval interval{.tv_sec = 0, .tv_usec = microseconds};
  const itimerval timer{.it_interval = interval, .it_value = interval};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace

InterruptingTimer::InterruptingTimer() : InterruptingTimer(-1) {}

InterruptingTimer::InterruptingTimer(int fd) {
  signals = 0;
  target = fd;
  struct sigaction action {};
  action.sa_handler = onAlarm;
  sigemptyset(&action.sa_mask);
  sigaction(SIGALRM, &action, &oldAction_);
  setTimer(intervalMicroseconds);
}

InterruptingTimer::~InterruptingTimer() {
  setTimer(0);
  sigaction(SIGALRM, &oldAction_, nullptr);
}

int InterruptingTimer::count() {
  return signals;
}
