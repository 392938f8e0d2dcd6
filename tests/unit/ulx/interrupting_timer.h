#pragma once

#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

/**
 * Interrupts the calls of this process with a signal (SIGALRM, handled, system calls not restarted) every 5
 * ms during a scope. For tests with one thread.
 */
class InterruptingTimer {
 public:
  InterruptingTimer() : InterruptingTimer(-1) {}
  /** With the third signal, one byte goes to `fd`: it ends a wait that signals have interrupted before. */
  explicit InterruptingTimer(int fd) {
    signals_ = 0;
    target_ = fd;
    struct sigaction action {};
    action.sa_handler = onAlarm;
    sigaction(SIGALRM, &action, &oldAction_);
    setInterval(5000);
  }
  InterruptingTimer(const InterruptingTimer&) = delete;
  InterruptingTimer& operator=(const InterruptingTimer&) = delete;
  ~InterruptingTimer() {
    setInterval(0);
    sigaction(SIGALRM, &oldAction_, nullptr);
  }

  /** The number of signals so far. */
  [[nodiscard]] static int count() { return signals_; }

 private:
  static void onAlarm(int /*signal*/) {
    const int savedErrno = errno;
    signals_ = signals_ + 1;
    if (signals_ == 3 && target_ != -1 && write(target_, "!", 1) == -1) {
      // The wait goes on, and the test runs into its time limit.
    }
    errno = savedErrno;
  }

  static void setInterval(suseconds_t microseconds) {
    const timeval interval{.tv_sec = 0, .tv_usec = microseconds};
    const itimerval timer{.it_interval = interval, .it_value = interval};
    setitimer(ITIMER_REAL, &timer, nullptr);
  }

  static inline volatile std::sig_atomic_t signals_ = 0;
  static inline volatile std::sig_atomic_t target_ = -1;
  struct sigaction oldAction_ {};
};
