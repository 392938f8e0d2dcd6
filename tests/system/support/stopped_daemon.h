#pragma once

#include "sim/unit.h"

namespace support {

/**
 * Stops the daemon where it waits, so that a test can put several things before it at once: it finds all of
 * them when it goes on.
 */
class StoppedDaemon {
 public:
  /** Returns when it is stopped. */
  explicit StoppedDaemon(sim::Unit& unit);

  void resume();

 private:
  sim::Daemon& daemon_;
};

}  // namespace support
