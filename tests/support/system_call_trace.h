#pragma once

#include <sys/types.h>

#include <array>
#include <optional>
#include <string>

#include "sim/deadline.h"
#include "support/traced_stops.h"

namespace support {

/** A system call that is about to be made. */
struct SystemCall {
  unsigned long number;  ///< SYS_...
  std::array<unsigned long, 6> arguments;
};

/**
 * Stops a child process before each of its system calls (ptrace): between two stops a test can change the
 * world at exactly one place of the process's work. While it is traced, the process does not run by itself,
 * and nothing else may wait for it.
 */
class SystemCallTrace {
 public:
  /** Why no such trace can be made here; nothing where it can. */
  [[nodiscard]] static std::optional<std::string> obstacle();

  explicit SystemCallTrace(pid_t process);
  /** Lets the process run on by itself. */
  ~SystemCallTrace();
  SystemCallTrace(const SystemCallTrace&) = delete;
  SystemCallTrace& operator=(const SystemCallTrace&) = delete;
  SystemCallTrace(SystemCallTrace&&) = delete;
  SystemCallTrace& operator=(SystemCallTrace&&) = delete;

  /** Makes the call before which the process stands, and runs on to the next one, which it returns. */
  SystemCall next(const sim::Deadline& deadline = {});
  /** Runs on to the next sleep, and returns the seconds that it is to take. */
  double runToSleep(const sim::Deadline& deadline = {});
  /** The seconds that a call is to sleep; nothing for calls that do not sleep. */
  [[nodiscard]] std::optional<double> sleepOf(const SystemCall& call) const;
  /** Whether the call waits for descriptors (select), be it for no time. */
  [[nodiscard]] static bool isWait(const SystemCall& call);
  /**
   * Runs on to the next wait for descriptors that is to take more than no time, and returns the
   * seconds that it is given. A wait that was interrupted is seen again, with what is left of its time.
   */
  double runToWait(const sim::Deadline& deadline = {});

 private:
  int waitForStop(const sim::Deadline& deadline);
  [[nodiscard]] std::optional<SystemCall> currentCall() const;
  /** The seconds in the time that an argument of the call leads to. */
  [[nodiscard]] double secondsIn(const SystemCall& call, std::size_t argument) const;
  /** The seconds in the time that the process keeps at `address`, which the kernel calls a `Time`. */
  template <class Time>
  [[nodiscard]] double secondsAt(unsigned long address) const;

  pid_t process_;
  TracedStops stops_;
  bool isStopped_ = false;  ///< or has ended
};

}  // namespace support
