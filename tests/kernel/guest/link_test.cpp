// The link to the Transmitter: its parameters and its speed.

#include <algorithm>

#include "kernel/guest/receiver_unit.h"
#include "sim/files.h"

namespace guest {
namespace {

class Link : public ReceiverUnit {};

const std::string refused = "High speed QEMU USB Tablet is not supported on a full speed only port\n";

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
  EXPECT_EQ(workerOf(device.directory).start.arguments, genericWorker(device.directory));
  EXPECT_EQ(display.takeWrites(), nothing);
}

TEST_F(Link, ThatDropsToFullSpeedGivesHighSpeedDevicesUpAndKeepsTheOthers) {
  start();
  deliver("high");
  const PluggedDevice fast = plug(tablet(), highSpeedSocket(1));
  const PluggedDevice slow = plug(mouse(), fullSpeedSocket(1));
  sim::Worker& ofFast = workerOf(fast.directory);
  sim::Worker& ofSlow = workerOf(slow.directory);
  display.takeWrites();
  deliver("full");
  ofFast.waitForEnd();
  EXPECT_EQ(display.waitForWrite(), "QEMU USB Mouse attached\n");
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
  EXPECT_EQ(workerOf(device.directory).start.arguments, genericWorker(device.directory));
  EXPECT_EQ(display.takeWrites(), nothing);
}

// A disk's node has no speed that could be asked for.
TEST_F(Link, ThatDropsToFullSpeedEndsADaemonThatServesADisk) {
  start({"--class=scsi"});
  plug(disk(), highSpeedSocket(1));
  const std::string node = storageNode();
  workerOf(node);
  sim::LinkManager manager;
  sim::LinkParameters parameters;
  parameters.speed = "full";
  manager.configure(parameters);
  EXPECT_EQ(daemon->waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_TRUE(daemon->hasLine("No such file or directory while open(\"" + node + "/speed\")"));
}

TEST_F(Link, ThatBecomesFastTakesAHighSpeedDeviceThatIsPluggedInAgain) {
  start({}, "full");
  takeOut(plug(tablet(), highSpeedSocket(1)));
  deliver("high");
  const PluggedDevice device = plug(tablet(), highSpeedSocket(1));
  EXPECT_EQ(workerOf(device.directory).start.arguments, genericWorker(device.directory));
  EXPECT_EQ(display.takeWrites(), (Lines{refused, "QEMU USB Tablet attached\n"}));
}

TEST_F(Link, TellsWorkersWhatTheLinkManagerHasDelivered) {
  start();
  sim::LinkManager manager;
  manager.send("other 7000 high wlan0 IN OUT");
  settleEverySource();
  const PluggedDevice device = plug(mouse(), fullSpeedSocket(1));
  EXPECT_EQ(workerOf(device.directory).start.arguments,
            (Lines{"usb_rx_generic", "--keys", "IN", "OUT", "wlan0", "other", "7000", device.directory}));
}

TEST_F(Link, ThatIsDeliveredAnnouncesWhatIsPluggedIn) {
  desk.plug(mouse(), fullSpeedSocket(1));
  start();
  EXPECT_EQ(display.takeWrites(), nothing);
  deliver();
  EXPECT_EQ(display.takeWrites(), Lines{"QEMU USB Mouse attached\n"});
}

}  // namespace
}  // namespace guest
