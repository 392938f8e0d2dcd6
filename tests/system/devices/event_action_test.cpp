// What the daemon does with events of which action: it handles "add" and leaves every other alone.

#include <gtest/gtest.h>

#include <string>

#include "system/support/hotplug.h"

namespace {

class EventAction : public Hotplug {
 protected:
  /** The same event that plugging the device would send, but for its action. */
  Messages saidOfAction(const std::string& action) {
    return saidOf(sim::uevent(action, devpathOf(sim::UsbDevice().directory()), {{"SUBSYSTEM", "usb"}}));
  }
};

TEST_F(EventAction, AddStartsAWorker) {
  start();
  const std::string directory = unit.sysfs.add(sim::UsbDevice());
  EXPECT_EQ(saidOfAction("add"), genericDevice(directory));
  EXPECT_EQ(unit.workers.waitForWorker().device(), directory);
}

class OtherAction : public EventAction, public testing::WithParamInterface<std::string> {};

TEST_P(OtherAction, IsOnlyToldOf) {
  start("all");
  const std::string directory = unit.sysfs.add(sim::UsbDevice());
  EXPECT_EQ(saidOfAction(GetParam()), rxCtrl({GetParam() + " " + devpathOf(directory)}));
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_P(OtherAction, IsOnlyToldOfWhereNoSuchDeviceIs) {
  start("all");
  EXPECT_EQ(saidOfAction(GetParam()), rxCtrl({GetParam() + " " + devpathOf(sim::UsbDevice().directory())}));
}

TEST_P(OtherAction, LeavesTheWorkerOfTheDeviceAlone) {
  start();
  unit.plug(sim::UsbDevice());
  sim::Worker& worker = unit.workers.waitForWorker();
  EXPECT_EQ(saidOfAction(GetParam()), rxCtrl({GetParam() + " " + devpathOf(worker.device())}));
  EXPECT_TRUE(worker.isRunning());
  EXPECT_EQ(unit.daemon().children().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Kernel, OtherAction,
                         testing::Values("remove", "change", "move", "online", "offline", "bind", "unbind"));
INSTANTIATE_TEST_SUITE_P(AlmostAdd, OtherAction,
                         testing::Values("", "ad", "addd", "ADD", "Add", " add", "add ", "remove add"));

TEST_F(EventAction, RemoveLeavesTheWorkerOfADeviceThatHasGoneAlone) {
  start();
  const std::string directory = unit.plug(sim::UsbDevice());
  sim::Worker& worker = unit.workers.waitForWorker();
  EXPECT_EQ(during([&] { unit.unplug(directory); }), rxCtrl({"remove " + devpathOf(directory)}));
  EXPECT_TRUE(worker.isRunning());
}

TEST_F(EventAction, IsNotToldOfWithoutDebugging) {
  unit.startDaemon({"transmitter", "5000", "high"});
  unit.waitUntilServing();
  unit.uevents.send(sim::uevent("change", "/x"));
  unit.uevents.send(sim::uevent("remove", "/x"));
  unit.uevents.send(sim::uevent("add", "/missing"));
  unit.uevents.send("add@/x");
  unit.plug(sim::UsbDevice());
  unit.settle();
  EXPECT_EQ(unit.daemon().standardError(), "");
}

}  // namespace
