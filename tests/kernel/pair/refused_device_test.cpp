// Devices that do not travel.

#include "kernel/pair/travel.h"

namespace pair {
namespace {

class RefusedDevice : public Travel {};

TEST_F(RefusedDevice, IsASpeakerWhichTheDisplaySays) {
  startBothEnds();
  const guest::PluggedDevice speaker = desk.plug(guest::speaker(), guest::fullSpeedSocket(1));
  EXPECT_EQ(display.waitForWrite(), contract::display::isochronous(speaker.device.product) + "\n");
  // What comes after it has travelled: it has been refused by then.
  desk.plug(guest::mouse(), guest::fullSpeedSocket(2));
  farProgram.waitForAttached();
  waitForInputs(1);
  EXPECT_EQ(workers().size(), 1U);
  EXPECT_EQ(farProgram.portsInUse(), 1);
  EXPECT_EQ(driverOf(speaker), "usb");
}

}  // namespace
}  // namespace pair
