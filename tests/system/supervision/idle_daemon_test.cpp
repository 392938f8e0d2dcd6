// A daemon without anything to do does nothing at all.

#include <gtest/gtest.h>

#include <string>

#include "sim/unit.h"
#include "sim/wait.h"
#include "system/support/attached_devices.h"
#include "system/support/process_state.h"

namespace {

// Far more than the daemon's shorter interval of three seconds.
constexpr double quietSeconds = 10;

TEST(IdleDaemon, SleepsWithoutAnyWakeUp) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();
  unit.plug(scanner());
  unit.workers.waitForWorker();
  sim::LinkManager client = unit.connect();
  client.configure();
  settleEverySource(unit);
  waitUntilAsleep(daemon.pid());
  const auto before = contextSwitchesOf(daemon.pid());
  const std::size_t lines = daemon.lines().size();

  const bool ended = sim::waitReadable(daemon.endEvents(), sim::Deadline(quietSeconds));

  EXPECT_FALSE(ended);
  EXPECT_EQ(contextSwitchesOf(daemon.pid()), before);
  EXPECT_EQ(daemon.lines().size(), lines);
}

}  // namespace
