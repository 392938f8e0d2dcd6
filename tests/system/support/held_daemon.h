#pragma once

#include "sim/unit.h"

namespace support {

/**
 * A daemon that waits for a control client which has connected and says nothing. Until it is released it
 * serves no other source, so that a test can put several things before it at once.
 */
class HeldDaemon {
 public:
  /** Returns when the daemon waits. It must be serving. */
  explicit HeldDaemon(sim::Unit& unit);

  /** The silent client asks for the link parameters, and the daemon's next round begins; its port must not be
   * 0. Returns the answer. */
  std::string release();
  /** The client sends a line of link parameters instead. */
  void release(const std::string& line) { silentClient_.send(line); }

 private:
  sim::LinkManager silentClient_;
};

/** A daemon stopped where it waits: it finds all that a test puts before it when it goes on. */
class StoppedDaemon {
 public:
  /** Returns when it is stopped. */
  explicit StoppedDaemon(sim::Unit& unit);

  void resume();

 private:
  sim::Daemon& daemon_;
};

}  // namespace support
