// What becomes of a device whose worker has ended: it is handled like one that was just plugged in, or given
// up; how failures are counted, and when devices begin to wait for the Transmitter.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <string>

#include "ctrl/device_classes.h"
#include "hotplug/uevent_handler.h"
#include "sim/contract.h"
#include "support/named_case.h"
#include "unit/workers/supervision_world.h"
#include "workers/launch.h"
#include "workers/worker_arguments.h"

namespace {

using support::Lines;
using support::tagged;
namespace debug = contract::debug;
namespace display = contract::display;

constexpr double microsecond = 1e-6;

const std::string product = "Synthetic Device";
const Lines attached{display::attached(product) + "\n"};
const Lines waitMessage{display::noTransmitter(product) + "\n"};

/** The counters of the daemon, and how long ago the last generic worker was started. */
struct Counters {
  std::uint32_t restartCount;
  bool attachBlocked;
  double secondsSinceStart = 0.0;
};

class SupervisionRestarts : public Supervision {
 protected:
  void setCounters(const Counters& counters) {
    ctrl_->restartCount = counters.restartCount;
    ctrl_->attachBlocked = counters.attachBlocked;
    ctrl_->lastGenericStart = now_ - counters.secondsSinceStart;
  }
  void expectNoWorkers() {
    EXPECT_TRUE(ctrl_->workers.byPid.empty());
    EXPECT_TRUE(ctrl_->workers.byPath.empty());
  }
  bool nextHasATimeout() {
    const WorkerArguments arguments = nextStart().arguments;
    return std::find(arguments.begin(), arguments.end(), "--timeout") != arguments.end();
  }
};

TEST_F(SupervisionRestarts, AreThoseOfADeviceJustPluggedIn) {
  const std::string device = plugWithWorker();
  const pid_t worker = ctrl_->workers.byPath.at(device);
  exitNext(1);
  EXPECT_EQ(logOfReaping(),
            tagged({debug::terminated(worker), debug::withStatus(1), debug::stillPresent(device),
                    debug::stillPresent(device), debug::restarting(device, 1),
                    debug::event("add", device.substr(4)), debug::subsystem("usb"), debug::noIsochronousFound,
                    debug::generic, debug::startingGeneric(device)}));
  const sim::WorkerStart start = nextStart();
  EXPECT_EQ(start.arguments, (WorkerArguments{"usb_rx_generic", "eth1", "host", "5000", device}));
  EXPECT_EQ(ctrl_->workers.byPath.at(device), start.pid);
  EXPECT_EQ(ctrl_->workers.byPid.size(), 1U);
}

TEST_F(SupervisionRestarts, OfANodeAreThoseOfItsKind) {
  ctrl_->classes = allClasses;
  const std::string hiddev = sysfs_.add(sim::HiddevNode{.usbDevice = sysfs_.add(sim::UsbDevice{})});
  launchKeyboardWorker(*ctrl_, hiddev);
  exitNext(1);
  Lines log = logOfReaping();
  EXPECT_EQ(Lines(log.begin() + 5, log.end()),
            tagged({debug::event("add", hiddev.substr(4)), debug::subsystem("usb"), debug::hid,
                    debug::startingKeyboard(hiddev, "180:0")}));
  EXPECT_EQ(nextStart().arguments, (WorkerArguments{"usb_rx_keyboard", "eth1", "host", "5001", "180", "0"}));
  EXPECT_EQ(ctrl_.shown(), (Lines{attached.front(), attached.front()}));

  const std::string disk =
      sysfs_.add(sim::ScsiGenericNode{.usbDevice = sysfs_.add(sim::UsbDevice{.name = "1-2"})});
  launchScsiWorker(*ctrl_, disk);
  exitNext(1);
  log = logOfReaping();
  EXPECT_EQ(Lines(log.begin() + 5, log.end()),
            tagged({debug::event("add", disk.substr(4)), debug::subsystem("scsi_generic"), debug::scsiGeneric,
                    debug::startingScsi(disk)}));
  EXPECT_EQ(nextStart().arguments, (WorkerArguments{"usb_rx_scsi", "eth1", "host", "5002", disk}));
  EXPECT_TRUE(ctrl_->workers.byPath.contains(hiddev));
  EXPECT_TRUE(ctrl_->workers.byPath.contains(disk));
}

TEST_F(SupervisionRestarts, AreRememberedWithTheirTimeAndShownWhileThereIsAControlClient) {
  connectClient();
  plugWithWorker();
  EXPECT_EQ(ctrl_.shown(), attached);
  exitNext(1);
  now_ += 7.0;
  const double end = now_;
  reap();
  EXPECT_NEAR(ctrl_->lastGenericStart, end + 0.15, microsecond);
  EXPECT_EQ(ctrl_.shown(), attached);
}

TEST_F(SupervisionRestarts, ThatFailAreForgotten) {
  const std::string device = plugWithWorker();
  exitNext(1);
  sysfs_.removeAttribute(device, "descriptors");
  EXPECT_EQ(logOfReaping().back(), tagged({debug::eventIgnored}).front());
  expectNoWorkers();
  EXPECT_EQ(ctrl_->restartCount, 2U);
}

TEST_F(SupervisionRestarts, OfTwoThatEndedAtOnceAreThoseOfBothAndCountTogether) {
  const std::string first = plugWithWorker({.name = "1-1"});
  const std::string second = plugWithWorker({.name = "1-2"});
  exitNext(1);
  exitNext(0);
  reap();
  EXPECT_EQ(ctrl_->workers.byPid.size(), 2U);
  EXPECT_EQ(ctrl_->restartCount, 4U);
  for (const std::string& device : {first, second}) {
    EXPECT_TRUE(workers_.waitForWorkerOf(device).isRunning());
  }
}

TEST_F(SupervisionRestarts, OfOneLeaveTheOthersAlone) {
  plugWithWorker({.name = "1-1"});
  const std::string second = plugWithWorker({.name = "1-2"});
  const pid_t undisturbed = ctrl_->workers.byPath.at(second);
  reapNext(1);
  EXPECT_EQ(ctrl_->workers.byPath.at(second), undisturbed);
  EXPECT_EQ(ctrl_->workers.byPid.size(), 2U);
}

TEST_F(SupervisionRestarts, CountByTwoWithEachFailureAndBlockAttachingFromTheFifthOn) {
  const std::string device = plugWithWorker();
  for (const unsigned failure : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U}) {
    exitNext(1);
    EXPECT_EQ(logOfReaping().at(4), tagged({debug::restarting(device, 2 * failure - 1)}).front());
    EXPECT_EQ(ctrl_->restartCount, 2 * failure);
    EXPECT_EQ(ctrl_->attachBlocked, failure >= 5);
    EXPECT_EQ(ctrl_.shown(), failure >= 5 ? waitMessage : Lines{});
  }
}

struct CountCase : support::NamedCase {
  Counters before;
  int status;
  Counters after;
};

class SupervisionRestartsCount : public SupervisionRestarts, public testing::WithParamInterface<CountCase> {};

INSTANTIATE_TEST_SUITE_P(
    After, SupervisionRestartsCount,
    testing::Values(CountCase{{"AFailureUpToNine"}, {7, false}, 1, {9, false}},
                    CountCase{{"AFailureUpToTen"}, {8, false}, 1, {10, true}},
                    CountCase{{"AFailureShortlyBeforeThePeriodEnds"}, {4, false, 19.9}, 1, {6, false}},
                    CountCase{{"AFailureWhenThePeriodHasJustPassed"}, {4, true, 20.0}, 1, {6, true}},
                    CountCase{{"AFailureBehindThePeriod"}, {14, true, 20.0 + microsecond}, 1, {1, false}},
                    CountCase{{"AFailureWithoutAnyStart"}, {9, false, 5000.0}, 1, {1, false}},
                    CountCase{{"ATimeout"}, {0, false}, 28, {1, false}},
                    CountCase{{"ATimeoutWhileAttachingIsBlocked"}, {4, true, 100.0}, 28, {5, true}},
                    CountCase{{"ATimeoutUpToNine"}, {8, false}, 28, {9, false}},
                    CountCase{{"ATimeoutUpToTen"}, {9, false}, 28, {10, true}}));

TEST_P(SupervisionRestartsCount, IsAsItsEndSays) {
  plugWithWorker();
  setCounters(GetParam().before);
  reapNext(GetParam().status);
  EXPECT_EQ(ctrl_->restartCount, GetParam().after.restartCount);
  EXPECT_EQ(ctrl_->attachBlocked, GetParam().after.attachBlocked);
  EXPECT_EQ(ctrl_.shown(), GetParam().after.restartCount >= 10 ? waitMessage : Lines{});
}

TEST_F(SupervisionRestarts, CountByTwoForEveryOtherStatusAndSignal) {
  plugWithWorker();
  for (const int status : {0, 1, 4, 6, 27, 29, 255}) {
    setCounters({0, false});
    reapNext(status);
    EXPECT_EQ(ctrl_->restartCount, 2U) << status;
  }
  for (const int signal : {SIGKILL, SIGTERM, 5, 28 + 6, 42}) {
    setCounters({0, false});
    killNext(signal);
    reap();
    EXPECT_EQ(ctrl_->restartCount, 2U) << "signal " << signal;
  }
  EXPECT_EQ(ctrl_.shown(), Lines{});
}

TEST_F(SupervisionRestarts, BehindATimeoutAreLoggedAsSuch) {
  const std::string device = plugWithWorker();
  setCounters({4, true});
  exitNext(28);
  const Lines log = logOfReaping();
  EXPECT_EQ(Lines(log.begin() + 1, log.begin() + 6),
            tagged({debug::withStatus(28), debug::waitedInVain, debug::stillPresent(device),
                    debug::stillPresent(device), debug::restarting(device, 4)}));
}

TEST_F(SupervisionRestarts, BlockAttachingFromTheVeryRestartThatIsOneTooMany) {
  connectClient();
  plugWithWorker();
  setCounters({8, false, 1.0});
  const double lastStart = ctrl_->lastGenericStart;
  (void)ctrl_.shown();
  reapNext(1);
  EXPECT_TRUE(nextHasATimeout());
  EXPECT_EQ(ctrl_.shown(), waitMessage);
  EXPECT_EQ(ctrl_->lastGenericStart, lastStart);
}

TEST_F(SupervisionRestarts, BehindAQuietPeriodAreNotBlocked) {
  connectClient();
  plugWithWorker();
  setCounters({10, true, 20.5});
  (void)ctrl_.shown();
  exitNext(1);
  const double end = now_;
  reap();
  EXPECT_FALSE(nextHasATimeout());
  EXPECT_EQ(ctrl_.shown(), attached);
  EXPECT_NEAR(ctrl_->lastGenericStart, end + 0.15, microsecond);
}

TEST_F(SupervisionRestarts, ThatAreTooManyAreShownBeforeTheDeviceIsHandled) {
  ctrl_->classes = storageClass;
  launchScsiWorker(*ctrl_, sysfs_.add(sim::ScsiGenericNode{.usbDevice = sysfs_.add(sim::UsbDevice{})}));
  (void)ctrl_.shown();
  setCounters({8, false});
  reapNext(1);
  EXPECT_EQ(ctrl_.shown(), (Lines{display::noTransmitter(display::unnamedDevice) + "\n",
                                  display::attached("ACME     Memory Stick    ") + "\n"}));
}

TEST_F(SupervisionRestarts, ThatAreTooManyAreNotShownWithoutADisplay) {
  const std::string device = plugWithWorker();
  ctrl_->osd.isOpen = false;
  setCounters({8, false});
  reapNext(1);
  exitedWorker(5, "/sys/devices/gone");
  reap();
  ctrl_->osd.isOpen = true;
  EXPECT_EQ(ctrl_.shown(), Lines{});
  EXPECT_TRUE(ctrl_->attachBlocked);
  EXPECT_TRUE(ctrl_->workers.byPath.contains(device));
}

TEST_F(SupervisionRestarts, AreNoneOfAnUnconfigurableDeviceWhichIsShown) {
  const std::string device = plugWithWorker();
  const pid_t worker = ctrl_->workers.byPath.at(device);
  exitNext(5);
  EXPECT_EQ(logOfReaping(), tagged({debug::terminated(worker), debug::withStatus(5)}));
  EXPECT_EQ(ctrl_.shown(), Lines{display::cannotBeConfigured(product) + "\n"});
  expectNoWorkers();
  EXPECT_TRUE(pauses_.empty());
  EXPECT_EQ(workers_.count(), 1U);
  handleUEvent(*ctrl_, makeAddEvent(device), "high");
  EXPECT_TRUE(ctrl_->workers.byPath.contains(device)) << "plugged in anew";
}

TEST_F(SupervisionRestarts, AreNotCountedForAnUnconfigurableDevice) {
  for (const double secondsSinceStart : {0.0, 100.0}) {
    setCounters({10, true, secondsSinceStart});
    exitedWorker(5, "/sys/devices/gone");
    reap();
    EXPECT_EQ(ctrl_->restartCount, 10U);
    EXPECT_TRUE(ctrl_->attachBlocked);
    EXPECT_EQ(ctrl_->lastGenericStart, now_ - secondsSinceStart);
  }
}

TEST_F(SupervisionRestarts, NameADeviceWithoutAName) {
  plugWithWorker({.product = std::nullopt});
  setCounters({8, false});
  reapNext(1);
  EXPECT_EQ(ctrl_.shown(), Lines{display::noTransmitter(display::unnamedDevice) + "\n"});
  exitNext(5);
  exitedWorker(5, "/sys/devices/gone");
  reap();
  const std::string unconfigurable = display::cannotBeConfigured(display::unnamedDevice) + "\n";
  EXPECT_EQ(ctrl_.shown(), (Lines{unconfigurable, unconfigurable}));
}

}  // namespace
