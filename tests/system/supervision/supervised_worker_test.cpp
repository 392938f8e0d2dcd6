// What the whole daemon does when workers end and their devices are still there, or have gone.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"
#include "system/support/hotplug.h"
#include "system/support/last_words.h"
#include "system/support/process_state.h"
#include "system/support/stopped_daemon.h"

namespace {

namespace debug = contract::debug;
namespace display = contract::display;

using support::genericWorker;
using support::joined;
using support::Lines;
using support::scanner;
using support::tagged;

class SupervisedWorker : public support::DaemonFixture {
 protected:
  /** The next worker exits, and the daemon restarts it as the latest of so many restarts. */
  void expectRestart(unsigned count) {
    unit.workers.waitForWorker().exitWith(1);
    unit.daemon().waitForLine(debug::restarting(device, count));
  }
  void expectShown(const std::string& text) { EXPECT_EQ(unit.display.waitForWrite(), text + "\n"); }

  const std::string device = scanner().directory();
};

TEST_F(SupervisedWorker, IsRestartedWhereItsDeviceIsStillThere) {
  start();
  sim::Worker& worker = attach(scanner());

  const Lines printed = support::messagesDuring(unit, [&] {
    worker.exitWith(3);
    EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(device));
  });

  EXPECT_EQ(printed, joined(tagged({debug::terminated(worker.start.pid), debug::withStatus(3),
                                    debug::stillPresent(device), debug::stillPresent(device),
                                    debug::restarting(device, 1)}),
                            support::genericDevice(device)));
}

TEST_F(SupervisedWorker, IsForgottenWhereItsDeviceHasGone) {
  start();
  sim::Worker& worker = attach(scanner());
  unit.unplug(device);
  unit.settle();

  const Lines printed = support::messagesDuring(unit, [&] {
    worker.dieBy(SIGKILL);
    unit.daemon().waitForLine(debug::gone(device));
  });

  EXPECT_EQ(printed,
            tagged({debug::terminated(worker.start.pid), debug::bySignal(SIGKILL), debug::gone(device)}));
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_F(SupervisedWorker, IsNotRestartedWhereItsDeviceCannotBeConfigured) {
  start();
  sim::Worker& worker = attach(scanner());

  const Lines printed = support::messagesDuring(unit, [&] {
    worker.exitWith(5);
    unit.daemon().waitForLine(debug::withStatus(5));
  });

  EXPECT_EQ(printed, tagged({debug::terminated(worker.start.pid), debug::withStatus(5)}));
  expectShown(display::cannotBeConfigured("Scanner"));
  EXPECT_TRUE(unit.daemon().children().empty());
}

/** The worker of a scanner that has been announced. */
class SupervisedWorkerThatFails : public SupervisedWorker {
 protected:
  SupervisedWorkerThatFails() {
    start();
    deliver();
    unit.plug(scanner());
  }

  void expectFailuresUntilItWaits() {
    for (const unsigned count : {1U, 3U, 5U, 7U, 9U}) {
      expectShown(display::attached("Scanner"));
      expectRestart(count);
    }
    expectShown(display::noTransmitter("Scanner"));
  }
  /** The worker that is started next, with the time that it is to wait. */
  sim::Worker& waitingWorker() {
    sim::Worker& worker = unit.workers.waitForWorker();
    EXPECT_EQ(worker.start.arguments, genericWorker(device, {"--timeout", "10"}));
    return worker;
  }
};

TEST_F(SupervisedWorkerThatFails, WaitsForTheTransmitterAfterFiveFailures) {
  expectFailuresUntilItWaits();
  waitingWorker().exitWith(28);
  unit.daemon().waitForLine(debug::line(debug::waitedInVain));
  expectShown(display::noTransmitter("Scanner"));
  waitingWorker();
}

TEST_F(SupervisedWorkerThatFails, WaitsUntilItFailsAfterNewParameters) {
  expectFailuresUntilItWaits();
  sim::Worker& waiting = waitingWorker();
  deliver();
  expectShown(display::attached("Scanner"));
  waiting.exitWith(28);
  unit.daemon().waitForLine(debug::restarting(device, 10));
  expectShown(display::noTransmitter("Scanner"));
  waitingWorker().exitWith(1);
  unit.daemon().waitForLine(debug::restarting(device, 0));
  expectShown(display::attached("Scanner"));
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(device));
}

TEST_F(SupervisedWorker, IsNeverOneTooManyWhereTheConfiguredTimeoutIsNoNumber) {
  sim::Unit::writeConfig("[usb]\nconnect_fail_timeout = abc\n");
  start();
  unit.plug(scanner());
  for (int i = 0; i < 3; ++i) {
    expectRestart(0);
  }
}

TEST_F(SupervisedWorker, IsNotRestartedWhereTheChangedPolicyRefusesItsDevice) {
  start();
  sim::Worker& worker = attach(scanner());
  sim::Unit::writeConfig("[usb]\nhid_only = 1\n");
  unit.daemon().signal(SIGHUP);

  worker.exitWith(1);

  unit.daemon().waitForLine(debug::unsupported);
  expectShown(display::nonHid("Scanner"));
  unit.settle();
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_F(SupervisedWorker, IsNotRestartedWhereTheSlowerLinkCannotCarryItsDevice) {
  start();
  deliver();
  attach(support::fastScanner());
  expectShown(display::attached("Fast Scanner"));

  send(support::linkLine("full"));

  unit.daemon().waitForLine(debug::bySignal(SIGTERM));
  unit.daemon().waitForLine(debug::unsupported);
  expectShown(display::highSpeed("Fast Scanner"));
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_F(SupervisedWorker, EndsTheDaemonWhereItsDeviceCannotBeLookedFor) {
  start();
  sim::Worker& worker = attach(scanner());
  const std::string hub = scanner().parent;
  unit.sysfs.removeDevice(hub);
  unit.sysfs.makeLink(hub, "usb1");

  worker.exitWith(1);

  EXPECT_EQ(support::lastWordsOf(unit.daemon()),
            contract::error::statFailed(contract::reason::tooManyLinks, device));
}

TEST_F(SupervisedWorker, LeavesNothingWhenItEndsTogetherWithManyOthers) {
  constexpr std::size_t count = 200;
  const sim::Deadline enough(40);  // seconds: each device is looked after for 50 ms
  sim::Daemon& daemon = start();
  const std::vector<int> descriptorsBefore = daemon.openDescriptors();
  std::vector<sim::Worker*> workers;
  for (std::size_t i = 1; i <= count; ++i) {
    workers.push_back(&attach(scanner("1-" + std::to_string(i))));
  }
  EXPECT_EQ(daemon.children().size(), count);

  support::StoppedDaemon stopped(unit);
  for (sim::Worker* worker : workers) {
    detachAndEnd(*worker);
    support::waitUntilEnded(worker->start.pid);
  }
  stopped.resume();

  waitUntilAllForgotten(enough);
  support::settleEverySource(unit);
  EXPECT_EQ(daemon.openDescriptors(), descriptorsBefore);
  for (const sim::Worker* worker : workers) {
    EXPECT_TRUE(daemon.hasLine(debug::line(debug::gone(worker->device()))));
  }
  attach(scanner("1-200"));
}

}  // namespace
