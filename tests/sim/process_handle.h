#pragma once

#include <sys/types.h>

#include "sim/descriptor.h"

namespace sim {

/** Holds on to one process, whose number may come to name another one after its end. */
class ProcessHandle {
 public:
  ProcessHandle() = default;
  /** A process that has ended and was waited for leaves the handle closed. */
  explicit ProcessHandle(pid_t process);

  [[nodiscard]] bool isOpen() const { return fd_.isOpen(); }
  /** Readable when the process has ended. */
  [[nodiscard]] int endEvents() const { return fd_.get(); }
  void signal(int number) const;
  /** Another number, here, for the open file that the process knows as `number`; closed where that is
   * refused. */
  [[nodiscard]] Descriptor shareFile(int number) const;

 private:
  Descriptor fd_;
};

}  // namespace sim
