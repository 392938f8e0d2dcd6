// Workers that end while their devices stay.

#include <csignal>

#include "kernel/guest/receiver_unit.h"

namespace guest {
namespace {

class Supervision : public ReceiverUnit {
 protected:
  /** A mouse that has been attached. */
  PluggedDevice startWithMouse() {
    start();
    deliver();
    return plug(mouse(), fullSpeedSocket(1));
  }
};

TEST_F(Supervision, RestartsAWorkerThatHasCrashed) {
  const PluggedDevice device = startWithMouse();
  genericWorkerOf(device).dieBy(SIGSEGV);
  daemon->waitForLine(contract::debug::bySignal(SIGSEGV));
  daemon->waitForLine(contract::debug::restarting(device.directory, 1));
  genericWorkerOf(device);
  EXPECT_EQ(display.waitForWrite(), attached(mouse()));
  EXPECT_EQ(display.waitForWrite(), attached(mouse()));
}

TEST_F(Supervision, GivesADeviceUpThatCannotBeConfigured) {
  const PluggedDevice device = startWithMouse();
  EXPECT_EQ(display.waitForWrite(), attached(mouse()));
  genericWorkerOf(device).exitWith(5);
  EXPECT_EQ(display.waitForWrite(), contract::display::cannotBeConfigured(mouse().product) + "\n");
  settleEverySource();
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Supervision, LetsWorkersWaitForTheTransmitterAfterFiveFailures) {
  configure("connect_fail_timeout = 7\n");
  const PluggedDevice device = startWithMouse();
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(display.waitForWrite(), attached(mouse()));
    genericWorkerOf(device).exitWith(1);
  }
  EXPECT_EQ(display.waitForWrite(), contract::display::noTransmitter(mouse().product) + "\n");
  genericWorkerOf(device, {"--timeout", "7"});
}

// A worker mostly notices first that its device goes; the kernel takes a while to say so.
TEST_F(Supervision, StartsNothingForAWorkerThatEndsWhileItsDeviceIsTakenOut) {
  start();
  const PluggedDevice device = plug(mouse(), fullSpeedSocket(1));
  sim::Worker& worker = genericWorkerOf(device);
  desk.takeOut(device);
  worker.exitWith(0);
  daemon->waitForLine(contract::debug::gone(device.directory));
  settleEverySource();
  EXPECT_EQ(workers.count(), 1U);
}

}  // namespace
}  // namespace guest
