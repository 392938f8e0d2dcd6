#pragma once

#include <chrono>
#include <vector>

#include "tools/recorder/heard_event.h"
#include "ulx/file_descriptor.h"

namespace recorder {

/** Receives all uevents of this network (for the kernel's own: the host's network) from its construction on. */
class UeventListener {
 public:
  /** Throws Error when uevents cannot be received. */
  UeventListener();

  /** Waits until at least one event is there; false when the deadline passes first. Throws Error when events
   * were lost. */
  [[nodiscard]] bool waitForEvents(std::chrono::steady_clock::time_point deadline);
  /** Returns the events that have come, in their order. */
  [[nodiscard]] std::vector<HeardEvent> take();

 private:
  void receive();

  ulx::FileDescriptor socket_;
  std::vector<HeardEvent> heard_;
};

}  // namespace recorder
