#pragma once

#include "sim/unit.h"

/**
 * A daemon that waits for a control client which has connected and says nothing. Until it is released it
 * serves no other source, so that a test can put several things before it at once.
 */
class HeldDaemon {
 public:
  /** Returns when the daemon waits. It must be serving, and its port must not be 0. */
  explicit HeldDaemon(sim::Unit& unit);

  /** The silent client asks for the link parameters and is answered; the daemon's next round begins. */
  void release();

 private:
  sim::LinkManager silentClient_;
};
