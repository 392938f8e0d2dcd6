#pragma once

#include <sys/types.h>

#include <csignal>

#include "sim/deadline.h"

namespace support {

/** ptrace() takes numbers where its prototype has pointers. */
void* asPointer(unsigned long number);

/** The signal of a stop before or after a system call, with PTRACE_O_TRACESYSGOOD. */
constexpr int stoppedInCall = SIGTRAP | 0x80;

/** The event for which the kernel stopped a process (PTRACE_EVENT_...); 0 where a signal or a system call did. */
unsigned eventOf(int waitStatus);

/** The signal that a stopped process is to get when it goes on; 0 for none. */
unsigned long signalOf(int waitStatus);

/** A scope in which this process waits for stops of processes that it traces: by SIGCHLD, which is blocked in it. */
class TracedStops {
 public:
  TracedStops();
  ~TracedStops();
  TracedStops(const TracedStops&) = delete;
  TracedStops& operator=(const TracedStops&) = delete;

  /** In such a scope: the wait status of a process when it has stopped or ended. */
  [[nodiscard]] static int waitFor(pid_t process, const sim::Deadline& deadline);

 private:
  sigset_t formerMask_{};
};

}  // namespace support
