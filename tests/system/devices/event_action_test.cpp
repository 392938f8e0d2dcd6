// What the daemon does with events of which action: it handles "add" and leaves every other alone.

#include <string>

#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

using support::devpathOf;
using support::scanner;

namespace debug = contract::debug;

const std::string directory = scanner().directory();

class EventAction : public support::Hotplug {
 protected:
  /** The same event that plugging the device would send, but for its action. */
  support::Lines saidOfAction(const std::string& action) {
    return saidOf(sim::uevent(action, devpathOf(directory), {{"SUBSYSTEM", "usb"}}));
  }
};

class EventActionOfNoInterest : public EventAction, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(Kernel, EventActionOfNoInterest,
                         testing::Values("remove", "change", "move", "online", "offline", "bind", "unbind"));
INSTANTIATE_TEST_SUITE_P(AlmostAdd, EventActionOfNoInterest,
                         testing::Values("", "ad", "addd", "ADD", "Add", " add", "add ", "remove add"));

TEST_P(EventActionOfNoInterest, IsOnlyLogged) {
  start("all");
  const support::Lines onlyLogged = support::tagged({debug::event(GetParam(), devpathOf(directory))});
  EXPECT_EQ(saidOfAction(GetParam()), onlyLogged) << "of no device";
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidOfAction(GetParam()), onlyLogged) << "of a device without a worker";
  EXPECT_TRUE(hasNoWorker());
  unit.uevents.add(devpathOf(directory));
  sim::Worker& worker = unit.workers.waitForWorker();
  EXPECT_EQ(saidOfAction(GetParam()), onlyLogged) << "of a device with a worker";
  EXPECT_TRUE(worker.isRunning());
  EXPECT_EQ(unit.daemon().children().size(), 1U);
}

TEST_F(EventAction, AddStartsAWorker) {
  start();
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidOfAction("add"), support::genericDevice(directory));
  EXPECT_EQ(unit.workers.waitForWorker().device(), directory);
}

TEST_F(EventAction, RemoveLeavesTheWorkerOfADeviceThatHasGoneAlone) {
  start();
  unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  EXPECT_EQ(during([&] { unit.unplug(directory); }),
            support::tagged({debug::event("remove", devpathOf(directory))}));
  EXPECT_TRUE(worker.isRunning());
}

TEST_F(EventAction, IsNotLoggedWithoutDebugging) {
  unit.startDaemon({"transmitter", "5000", "high"});
  unit.waitUntilServing();
  unit.uevents.send(sim::uevent("change", "/x"));
  unit.uevents.send(sim::uevent("remove", "/x"));
  unit.uevents.send(sim::uevent("add", "/missing"));
  unit.uevents.send("add@/x");
  unit.plug(scanner());
  unit.plug(support::named(support::isochronousDevice(), "1-2", "Speaker"));
  EXPECT_EQ(unit.display.waitForWrite(), contract::display::isochronous("Speaker") + "\n");
  unit.settle();
  EXPECT_EQ(unit.daemon().standardError(), "");
}

}  // namespace
