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
  workerOf(device.directory).dieBy(SIGSEGV);
  daemon->waitForLine("  terminated due to signal 11");
  daemon->waitForLine("device " + device.directory + " still present; restarting 1");
  EXPECT_EQ(workerOf(device.directory).start.arguments, genericWorker(device.directory));
  EXPECT_EQ(display.waitForWrite(), "QEMU USB Mouse attached\n");
  EXPECT_EQ(display.waitForWrite(), "QEMU USB Mouse attached\n");
}

TEST_F(Supervision, GivesADeviceUpThatCannotBeConfigured) {
  const PluggedDevice device = startWithMouse();
  EXPECT_EQ(display.waitForWrite(), "QEMU USB Mouse attached\n");
  workerOf(device.directory).exitWith(5);
  EXPECT_EQ(display.waitForWrite(),
            "<0>QEMU USB Mouse cannot be configured; please remove any intermediate hubs and/or device\n");
  settleEverySource();
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Supervision, LetsWorkersWaitForTheTransmitterAfterFiveFailures) {
  configure("connect_fail_timeout = 7\n");
  const PluggedDevice device = startWithMouse();
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(display.waitForWrite(), "QEMU USB Mouse attached\n");
    workerOf(device.directory).exitWith(1);
  }
  EXPECT_EQ(display.waitForWrite(), "<0>QEMU USB Mouse cannot be attached until Transmitter available\n");
  EXPECT_EQ(workerOf(device.directory).start.arguments, genericWorker(device.directory, {"--timeout", "7"}));
}

// A worker mostly notices first that its device goes; the kernel takes a while to say so.
TEST_F(Supervision, StartsNothingForAWorkerThatEndsWhileItsDeviceIsTakenOut) {
  start();
  const PluggedDevice device = plug(mouse(), fullSpeedSocket(1));
  sim::Worker& worker = workerOf(device.directory);
  desk.takeOut(device);
  worker.exitWith(0);
  daemon->waitForLine("device " + device.directory + " has gone");
  settleEverySource();
  EXPECT_EQ(workers.count(), 1U);
}

}  // namespace
}  // namespace guest
