// Signals that reach the daemon while a worker is being started have their effect as at any other time.

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <set>
#include <string>

#include "sim/contract.h"
#include "sim/process_table.h"
#include "sim/signal_storm.h"
#include "support/eventually.h"
#include "support/held_birth.h"
#include "support/system_call_trace.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"
#include "system/support/process_state.h"

namespace {

using support::scanner;

constexpr int cannotExecute = 42;

/** The daemon takes no notice of it before the next hangup. */
constexpr const char* policyAgainstScanners = "[usb]\nhid_only = 1\n";

/** A daemon that has created a process for a worker, which is held before it does anything. */
class LaunchInterruption : public support::DaemonFixture {
 protected:
  void SetUp() override {
    if (const auto obstacle = support::SystemCallTrace::obstacle()) {
      GTEST_SKIP() << *obstacle;
    }
    start();
  }

  void beginLaunch() {
    birth_.emplace(unit.daemon().pid());
    unit.plug(scanner("1-7"));
    child = birth_->waitForChild();
  }
  void goOn() { birth_->release(); }

  pid_t child = -1;

 private:
  std::optional<support::HeldBirth> birth_;
};

TEST_F(LaunchInterruption, ByAHangupHasThePolicyReadAgain) {
  beginLaunch();
  sim::Unit::writeConfig(policyAgainstScanners);
  unit.daemon().signal(SIGHUP);
  goOn();
  EXPECT_EQ(unit.workers.waitForWorker().start.pid, child);
  unit.plug(scanner("1-8"));
  EXPECT_EQ(unit.display.waitForWrite(), contract::display::nonHid("Scanner") + "\n");
}

// A handler that ran in the new process might do so in the daemon's memory.
TEST_F(LaunchInterruption, ByAHangupOfTheNewProcessLeavesThePolicyAsItIs) {
  beginLaunch();
  sim::Unit::writeConfig(policyAgainstScanners);
  ASSERT_EQ(::kill(child, SIGHUP), 0);
  goOn();
  EXPECT_TRUE(attach(scanner("1-8")).isRunning());
}

TEST_F(LaunchInterruption, ByARequestToEndEndsTheDaemonAndTheWorker) {
  beginLaunch();
  unit.daemon().signal(SIGTERM);
  goOn();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::killedBy(SIGTERM));
  support::eventually("the end of the worker", [&] { return !sim::isRunning(child); });
}

TEST_F(LaunchInterruption, ByTheEndOfAWorkerIsNoticed) {
  sim::Worker& other = attach(scanner("1-1"));
  beginLaunch();
  unit.sysfs.removeDevice(other.device());
  other.exitWith(0);
  other.waitForEnd();
  goOn();
  EXPECT_EQ(unit.workers.waitForWorker().start.pid, child);
  waitUntilForgotten(other);
}

TEST_F(LaunchInterruption, ByTheDeathOfTheNewProcessIsThatOfAnyWorker) {
  beginLaunch();
  ASSERT_EQ(::kill(child, SIGKILL), 0);
  goOn();
  unit.daemon().waitForLine(contract::debug::terminated(child));
  unit.daemon().waitForLine(contract::debug::bySignal(SIGKILL));
  EXPECT_EQ(unit.workers.waitForWorker().device(), scanner("1-7").directory());
}

TEST_F(LaunchInterruption, ByAWorkerThatCouldNotBeExecutedEndsTheDaemon) {
  sim::Worker& other = attach(scanner("1-1"));
  beginLaunch();
  other.exitWith(cannotExecute);
  other.waitForEnd();
  goOn();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().messages().back() + "\n", contract::error::execFailed);
}

// Of both ends the daemon may get one signal, which says nothing of the second.
TEST_F(LaunchInterruption, ByTheEndOfAWorkerDoesNotHideThatTheOtherCouldNotBeExecuted) {
  sim::Worker& other = attach(scanner("1-1"));
  beginLaunch();
  other.exitWith(0);
  other.waitForEnd();
  std::filesystem::remove("/sim/bin/usb_rx_generic");
  goOn();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().messages().back() + "\n", contract::error::execFailed);
}

TEST_F(LaunchInterruption, LeavesTheDaemonsSignalsAsTheyAre) {
  const std::set<int> blocked = support::stateOf(unit.daemon().pid()).blockedSignals;
  beginLaunch();
  unit.daemon().signal(SIGHUP);
  goOn();
  unit.settle();
  EXPECT_EQ(support::stateOf(unit.daemon().pid()).blockedSignals, blocked);
}

using LaunchInterruptions = support::DaemonFixture;

TEST_F(LaunchInterruptions, WithoutEndLoseNoWorkerAndNoHangup) {
  start();
  const sim::SignalStorm storm(unit.daemon().pid(), {SIGHUP, SIGCHLD}, 0.0001);
  for (int port = 1; port <= 50; ++port) {
    EXPECT_TRUE(attach(scanner("1-" + std::to_string(port))).isRunning());
  }
  sim::Unit::writeConfig(policyAgainstScanners);
  const long sent = storm.sent();
  support::eventually("another hangup", [&] { return storm.sent() > sent + 2; });
  unit.plug(scanner("1-99"));
  EXPECT_EQ(unit.display.waitForWrite(), contract::display::nonHid("Scanner") + "\n");
  unit.settle();
  EXPECT_EQ(unit.daemon().children().size(), 50U);
}

}  // namespace
