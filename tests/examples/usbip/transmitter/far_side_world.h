#pragma once

#include <gtest/gtest.h>

#include "examples/usbip/transmitter/made_up_hubs.h"
#include "sim/namespaces.h"
#include "support/loopback.h"

namespace examples {

/** A test in a network and with a /sys of its own, in which there are virtual hubs. */
class FarSideWorld : public testing::Test {
 protected:
  FarSideWorld() { support::bringUpLoopback(); }

 private:
  sim::Namespaces namespaces_;  // first: everything else happens inside

 protected:
  MadeUpHubs hubs;
};

}  // namespace examples
