#pragma once

#include <sys/types.h>

#include "sim/deadline.h"
#include "support/traced_stops.h"

namespace support {

/**
 * Holds the next process that another one creates, before its first instruction; the creator runs on by itself. Works
 * by ptrace, and so where SystemCallTrace does.
 */
class HeldBirth {
 public:
  explicit HeldBirth(pid_t creator);
  /** Lets the new process run on by itself. */
  ~HeldBirth();
  HeldBirth(const HeldBirth&) = delete;
  HeldBirth& operator=(const HeldBirth&) = delete;

  /** Waits until there is one; its id. */
  pid_t waitForChild(const sim::Deadline& deadline = {});
  /**
   * Lets the new process run to its next system call, and holds it before that. False where it executes its program
   * instead, before whose first instruction it is held.
   */
  [[nodiscard]] bool runToNextCall(const sim::Deadline& deadline = {});
  void release();

 private:
  void waitForCreator(const sim::Deadline& deadline);

  pid_t creator_;
  TracedStops stops_;
  pid_t child_ = -1;
  bool isHeld_ = false;
};

}  // namespace support
