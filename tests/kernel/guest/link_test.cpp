// The link to the Transmitter: its parameters and its speed.

#include <algorithm>

#include "kernel/guest/receiver_unit.h"
#include "sim/files.h"

namespace guest {
namespace {

class Link : public ReceiverUnit {};

const std::string refused = contract::display::highSpeed(tablet().product) + "\n";

TEST_F(Link, OfFullSpeedTakesNoHighSpeedDevice) {
  start({}, "full");
  plug(tablet(), highSpeedSocket(1));
  EXPECT_EQ(display.takeWrites(), Lines{refused});
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Link, OfFullSpeedTakesNoHighSpeedDeviceThatIsThereAtTheStart) {
  desk.plug(tablet(), highSpeedSocket(1));
  start({}, "full");
  EXPECT_EQ(display.takeWrites(), Lines{refused});
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Link, OfFullSpeedTakesTheSameDeviceInASlowerPort) {
  start({}, "full");
  const PluggedDevice device = plug(tablet(), fullSpeedSocket(1));
  genericWorkerOf(device);
  EXPECT_EQ(display.takeWrites(), nothing);
}

TEST_F(Link, ThatDropsToFullSpeedGivesHighSpeedDevicesUpAndKeepsTheOthers) {
  start();
  deliver("high");
  const PluggedDevice fast = plug(tablet(), highSpeedSocket(1));
  const PluggedDevice slow = plug(mouse(), fullSpeedSocket(1));
  sim::Worker& ofFast = genericWorkerOf(fast);
  sim::Worker& ofSlow = genericWorkerOf(slow);
  display.takeWrites();
  deliver("full");
  ofFast.waitForEnd();
  EXPECT_EQ(display.waitForWrite(), attached(mouse()));
  EXPECT_EQ(display.waitForWrite(), refused);
  settleEverySource();
  EXPECT_TRUE(ofSlow.isRunning());
  EXPECT_EQ(daemon->children(), std::vector<pid_t>{ofSlow.start.pid});
}

// The rule looks for "480" only.
TEST_F(Link, OfFullSpeedTakesADeviceOfSuperSpeed) {
  const std::vector<std::string> types = controllers();
  if (std::find(types.begin(), types.end(), "xhci") == types.end()) {
    GTEST_SKIP() << "this machine has no xHCI controller";
  }
  start({}, "full");
  const PluggedDevice device = plug(disk(), socketOf("xhci"));
  EXPECT_EQ(sim::readFile(device.directory + "/speed"), "5000\n");
  genericWorkerOf(device);
  EXPECT_EQ(display.takeWrites(), nothing);
}

// A disk's node has no speed that could be asked for.
TEST_F(Link, ThatDropsToFullSpeedEndsADaemonThatServesADisk) {
  start({"--class=scsi"});
  plug(disk(), highSpeedSocket(1));
  const std::string node = storageNode();
  storageWorkerOf(node);
  sim::LinkManager manager;
  manager.configure({.speed = "full"});
  EXPECT_EQ(daemon->waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_TRUE(daemon->hasLine(
      contract::error::whileCalling("No such file or directory", "open(\"" + node + "/speed\")")));
}

TEST_F(Link, ThatBecomesFastTakesAHighSpeedDeviceThatIsPluggedInAgain) {
  start({}, "full");
  takeOut(plug(tablet(), highSpeedSocket(1)));
  deliver("high");
  const PluggedDevice device = plug(tablet(), highSpeedSocket(1));
  genericWorkerOf(device);
  EXPECT_EQ(display.takeWrites(), (Lines{refused, attached(tablet())}));
}

TEST_F(Link, StartsWorkersWithWhatTheLinkManagerHasDelivered) {
  start();
  sim::LinkManager manager;
  manager.send("other 7000 high wlan0 IN OUT");
  settleEverySource();
  const PluggedDevice device = plug(mouse(), fullSpeedSocket(1));
  EXPECT_EQ(workers.waitForWorker().start.arguments,
            (Lines{"usb_rx_generic", "--keys", "IN", "OUT", "wlan0", "other", "7000", device.directory}));
}

TEST_F(Link, ThatIsDeliveredAnnouncesWhatIsPluggedIn) {
  desk.plug(mouse(), fullSpeedSocket(1));
  start();
  EXPECT_EQ(display.takeWrites(), nothing);
  deliver();
  EXPECT_EQ(display.takeWrites(), Lines{attached(mouse())});
}

}  // namespace
}  // namespace guest
