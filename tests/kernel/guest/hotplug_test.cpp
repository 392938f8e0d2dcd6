// Devices that come and go while the daemon runs.

#include <csignal>
#include <set>

#include "kernel/guest/receiver_unit.h"
#include "support/named_case.h"

namespace guest {
namespace {

struct Sort : support::NamedCase {
  EmulatedDevice (*device)();
  Socket (*socket)(int number);
};

const std::vector<Sort> sorts = {
    {"Keyboard", keyboard, highSpeedSocket},
    {"Mouse", mouse, fullSpeedSocket},
    {"Tablet", tablet, highSpeedSocket},
    {"MediaPlayer", mediaPlayer, highSpeedSocket},
    {"FastDisk", disk, highSpeedSocket},
    {"SlowDisk", disk, fullSpeedSocket},
    {"TwoDisks", twoDisks, highSpeedSocket},
    {"UasDisk", uasDisk, highSpeedSocket},
    {"SmartCardReader", smartCardReader, fullSpeedSocket},
    {"SerialAdapter", serialAdapter, fullSpeedSocket},
    {"NetworkAdapter", networkAdapter, fullSpeedSocket},
};

class Hotplug : public ReceiverUnit {};
class HotplugOfEverySort : public ReceiverUnit, public testing::WithParamInterface<Sort> {};

INSTANTIATE_TEST_SUITE_P(Devices, HotplugOfEverySort, testing::ValuesIn(sorts),
                         testing::PrintToStringParamName());

TEST_P(HotplugOfEverySort, AttachesTheDeviceAndAnnouncesItsName) {
  start();
  deliver();
  const PluggedDevice device = plug(GetParam().device(), GetParam().socket(1));
  genericWorkerOf(device);
  EXPECT_EQ(display.takeWrites(), Lines{attached(device.device)});
}

class HotplugOnEveryController : public ReceiverUnit, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(Machine, HotplugOnEveryController, testing::ValuesIn(controllers()),
                         [](const auto& instance) { return instance.param; });

TEST_P(HotplugOnEveryController, AttachesADeviceAndLetsItGo) {
  start();
  const PluggedDevice device = plug(keyboard(), socketOf(GetParam()));
  sim::Worker& worker = genericWorkerOf(device);
  takeOut(device);
  worker.exitWith(0);
  daemon->waitForLine(contract::debug::gone(device.directory));
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Hotplug, AttachesADeviceAgainThatIsPluggedInAgain) {
  start();
  const PluggedDevice first = plug(mouse(), fullSpeedSocket(1));
  sim::Worker& worker = genericWorkerOf(first);
  takeOut(first);
  worker.exitWith(0);
  daemon->waitForLine(contract::debug::gone(first.directory));
  const PluggedDevice second = plug(mouse(), fullSpeedSocket(1));
  EXPECT_EQ(second.directory, first.directory);
  genericWorkerOf(second);
}

TEST_F(Hotplug, LeavesTheWorkerOfADeviceThatHasGoneToEndByItself) {
  start();
  const PluggedDevice device = plug(mouse(), fullSpeedSocket(1));
  const sim::Worker& worker = genericWorkerOf(device);
  takeOut(device);
  settleEverySource();
  EXPECT_EQ(daemon->children(), std::vector<pid_t>{worker.start.pid});
}

TEST_F(Hotplug, StartsOneWorkerForADeviceHoweverManyEventsItBrings) {
  start();
  const PluggedDevice device = plug(keyboard(), fullSpeedSocket(1));
  settleEverySource();
  genericWorkerOf(device);
  EXPECT_EQ(workers.count(), 1U);
  EXPECT_TRUE(hasMessage(contract::debug::event("bind", devpathOf(device.directory))));
}

TEST_F(Hotplug, StartsNoWorkerForAHub) {
  start();
  plug(hub(), fullSpeedSocket(1));
  EXPECT_TRUE(hasMessage(contract::debug::hub));
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Hotplug, AttachesADeviceBehindAHub) {
  start();
  const PluggedDevice outer = plug(hub(), fullSpeedSocket(1));
  const PluggedDevice device = desk.plugBehind(outer, 2, mouse());
  settle();
  EXPECT_TRUE(
      device.directory.ends_with("-1/" + outer.directory.substr(outer.directory.rfind('/') + 1) + ".2"));
  genericWorkerOf(device);
}

TEST_F(Hotplug, AttachesADeviceBehindTwoHubs) {
  start();
  const PluggedDevice outer = plug(hub(), fullSpeedSocket(1));
  const PluggedDevice inner = desk.plugBehind(outer, 1, hub());
  const PluggedDevice device = desk.plugBehind(inner, 3, keyboard());
  settle();
  EXPECT_TRUE(device.directory.starts_with(inner.directory + "/"));
  genericWorkerOf(device);
}

TEST_F(Hotplug, SeesEverythingGoThatIsBehindAHub) {
  constexpr int count = 6;
  start();
  const PluggedDevice outer = plug(hub(), fullSpeedSocket(1));
  for (int port = 1; port <= count; ++port) {
    desk.plugBehind(outer, port, mouse());
  }
  settle();
  std::vector<sim::Worker*> started;
  started.reserve(count);
  for (int i = 0; i < count; ++i) {
    started.push_back(&workers.waitForWorker());
  }
  takeOut(outer);
  for (sim::Worker* worker : started) {
    worker->exitWith(0);
    daemon->waitForLine(" has gone");
  }
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Hotplug, CatchesUpWithWhatHasHappenedWhileTheDaemonWasBusy) {
  start();
  daemon->signal(SIGSTOP);
  const PluggedDevice gone = desk.plug(mouse(), fullSpeedSocket(1));
  const std::set<std::string> here{desk.plug(keyboard(), fullSpeedSocket(2)).directory,
                                   desk.plug(tablet(), highSpeedSocket(1)).directory,
                                   desk.plug(disk(), highSpeedSocket(2)).directory};
  desk.takeOut(gone);
  daemon->signal(SIGCONT);
  settle();
  expectServed(here);
}

TEST_F(Hotplug, UsesTheProgramThatIsConfiguredForGenericWorkers) {
  sim::installWorkerStandin("/opt/other/worker");
  configure("\n[apps]\nquor_usb_rx_generic = /opt/other/worker\n");
  start();
  const PluggedDevice device = plug(mouse(), fullSpeedSocket(1));
  EXPECT_EQ(workers.waitForWorkerOf(device.directory).program(), "/opt/other/worker");
}

}  // namespace
}  // namespace guest
