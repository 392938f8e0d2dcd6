#pragma once

#include <vector>

#include "sim/descriptor.h"
#include "sim/wait.h"
#include "tools/recorder/heard_event.h"

namespace sim {

/**
 * Hears all uevents of this network (for the kernel's own: the host's network) from the moment that it is
 * made. Events are taken during every wait of this process, which throws Error when some were lost.
 */
class UeventListener {
 public:
  /** Throws Error when uevents cannot be heard. */
  UeventListener();

  /** The events that have come and were not taken yet, in their order. */
  [[nodiscard]] const std::vector<HeardEvent>& heard() const { return heard_; }
  /** The same; they are forgotten here. */
  [[nodiscard]] std::vector<HeardEvent> take();

 private:
  void receive();

  Descriptor socket_;
  std::vector<HeardEvent> heard_;
  Background receiving_;
};

}  // namespace sim
