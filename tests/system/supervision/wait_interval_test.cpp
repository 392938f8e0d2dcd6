// How long the daemon is ready to wait for its sources.

#include <gtest/gtest.h>

#include <cmath>

#include "sim/wait.h"
#include "support/system_call_trace.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/process_state.h"

namespace {

constexpr double noLimit = 1'000'000;  // seconds
constexpr double quietPeriod = 3;      // seconds
constexpr double quietSeconds = 10;    // far more than that

class WaitInterval : public support::DaemonFixture {
 protected:
  void SetUp() override {
    if (const auto obstacle = support::SystemCallTrace::obstacle()) {
      GTEST_SKIP() << *obstacle;
    }
    start();
    worker = &attach(support::scanner());
    letItSleep();
  }

  /** A trace that begins while the daemon waits sees no beginning of that wait. */
  void letItSleep() {
    unit.settle();
    support::waitUntilAsleep(unit.daemon().pid());
  }

  sim::Worker* worker = nullptr;
};

/** What the daemon begins its next wait with: whole seconds, unlike a wait that a signal has interrupted. */
double nextInterval(support::SystemCallTrace& trace) {
  double seconds = 0;
  do {
    seconds = trace.runToWait();
  } while (seconds != std::floor(seconds));
  return seconds;
}

TEST_F(WaitInterval, HasNoLimitInEffectWhileNothingWasRestarted) {
  support::SystemCallTrace trace(unit.daemon().pid());
  for (int event = 0; event < 3; ++event) {
    unit.uevents.remove("/devices/none");
    EXPECT_EQ(nextInterval(trace), noLimit);
  }
}

// A control client makes the daemon forget its last start: the failure of a worker then begins a new streak.
TEST_F(WaitInterval, IsShortAfterASingleRestart) {
  support::askForParameters(unit);
  letItSleep();
  support::SystemCallTrace trace(unit.daemon().pid());

  worker->exitWith(0);

  EXPECT_EQ(nextInterval(trace), quietPeriod);
}

TEST_F(WaitInterval, IsShortFromTheFirstRestartOnUntilNothingHappens) {
  support::SystemCallTrace trace(unit.daemon().pid());
  worker->exitWith(0);
  EXPECT_EQ(nextInterval(trace), quietPeriod);
  unit.uevents.remove("/devices/none");
  EXPECT_EQ(nextInterval(trace), quietPeriod);

  // The device goes, which ends the streak of restarts at once.
  sim::Worker& restarted = unit.workers.waitForWorker();
  unit.sysfs.removeDevice(restarted.device());
  restarted.exitWith(0);
  EXPECT_EQ(nextInterval(trace), quietPeriod);

  EXPECT_EQ(nextInterval(trace), noLimit);
}

using WaitIntervalOfAnIdleDaemon = support::DaemonFixture;

TEST_F(WaitIntervalOfAnIdleDaemon, HasNoWakeUpInIt) {
  sim::Daemon& daemon = start();
  attach(support::scanner());
  deliver();
  support::waitUntilAsleep(daemon.pid());
  const auto before = support::contextSwitchesOf(daemon.pid());
  const std::size_t lines = daemon.lines().size();

  const bool ended = sim::waitReadable(daemon.endEvents(), sim::Deadline(quietSeconds));

  EXPECT_FALSE(ended);
  EXPECT_EQ(support::contextSwitchesOf(daemon.pid()), before);
  EXPECT_EQ(daemon.lines().size(), lines);
}

}  // namespace
