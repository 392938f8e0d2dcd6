// A control client that connects and says nothing for a while: the daemon waits for it.

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/eventually.h"
#include "system/support/held_daemon.h"
#include "system/support/process_state.h"

namespace {

using SlowClient = support::DaemonFixture;

TEST_F(SlowClient, HoldsUpTheDaemonUntilItSpeaks) {
  start();
  support::HeldDaemon held(unit);
  unit.plug(scanner());

  held.release("host 7000 high wlan0");

  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            (support::Lines{"usb_rx_generic", "wlan0", "host", "7000", scanner().directory()}));
}

TEST_F(SlowClient, IsServedThoughSignalsInterruptTheWaitForIt) {
  sim::Daemon& daemon = start();
  sim::Worker& worker = attach(scanner());
  support::HeldDaemon held(unit);

  detachAndEnd(worker);
  support::waitUntilEnded(worker.start.pid);
  daemon.signal(SIGHUP);
  support::eventually("a daemon that has taken its signals",
                      [&] { return support::pendingSignalsOf(daemon.pid()).empty(); });
  support::waitUntilAsleep(daemon.pid());
  EXPECT_EQ(daemon.children(), std::vector<pid_t>{worker.start.pid});
  held.release("host 7000 high wlan0 IN OUT");

  EXPECT_EQ(support::askForParameters(unit), "host 7000 high wlan0 IN OUT");
  waitUntilForgotten(worker);
}

TEST_F(SlowClient, MayAskAfterItsSilence) {
  start();
  deliver("host 7000 high wlan0 IN OUT");
  support::HeldDaemon held(unit);

  EXPECT_EQ(held.release(), "host 7000 high wlan0 IN OUT");
}

}  // namespace
