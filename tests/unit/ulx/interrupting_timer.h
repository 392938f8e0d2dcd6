#pragma once

#include <sys/time.h>

#include <csignal>

/**
 * Interrupts the calls of this process with a signal (SIGALRM, handled, system calls not restarted) every 5
 * ms during a scope. For tests with one thread.
 */
class InterruptingTimer {
 public:
  InterruptingTimer();
  /** With the third signal one byte goes to `fd`: to end a wait that has been interrupted before. */
  explicit InterruptingTimer(int fd);
  InterruptingTimer(const InterruptingTimer&) = delete;
  InterruptingTimer& operator=(const InterruptingTimer&) = delete;
  ~InterruptingTimer();

  /** How many signals there have been. */
  [[nodiscard]] static int count();

 private:
  struct sigaction oldAction_ {};
};
