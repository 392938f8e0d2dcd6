// A daemon without anything to do does nothing at all.

#include <gtest/gtest.h>

#include "sim/wait.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"
#include "system/support/process_state.h"

namespace {

using IdleDaemon = support::DaemonFixture;

/** Far more than the daemon's shorter interval of three seconds. */
constexpr double quietSeconds = 10;

TEST_F(IdleDaemon, SleepsWithoutAnyWakeUp) {
  sim::Daemon& daemon = start();
  attach(scanner());
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
