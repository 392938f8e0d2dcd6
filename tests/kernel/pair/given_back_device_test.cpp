// What has the device when its worker ends in another way than by being unplugged.

#include <csignal>

#include "kernel/guest/serial_port.h"
#include "kernel/pair/travel.h"

namespace pair {
namespace {

class GivenBackDevice : public Travel {
 protected:
  void plugAndWait() {
    startBothEnds();
    disk = desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
    waitForDisk();
    EXPECT_EQ(driverOf(disk), "usbip-host");
  }
  void expectThatItTravelsAgain() {
    farProgram.waitForAttached(2);
    expectContentOf(waitForDisk(), guest::machineSetting("RANDOM_DISK_SHA256"));
  }

  guest::PluggedDevice disk;
};

TEST_F(GivenBackDevice, HasItsOwnDriverOnceTheUnitIsStopped) {
  plugAndWait();
  const StopWatch sinceStop;
  stopUnit();
  waitForDriver(disk, "usb-storage");
  sinceStop.print("from stop to the own driver");
  EXPECT_EQ(driverOf(disk), "usb");
  farProgram.waitForGone();
  waitForDisks(0);
  EXPECT_EQ(farProgram.portsInUse(), 0);
}

TEST_F(GivenBackDevice, HasItsOwnDriverBeforeTheDaemonStartsTheNextWorker) {
  plugAndWait();
  const pid_t worker = waitForWorker();
  ::kill(worker, SIGTERM);
  syslog.waitForText("asked to end");
  waitForDriver(disk, "usb-storage");
  waitForWorkerAfter(worker);
  expectThatItTravelsAgain();
}

TEST_F(GivenBackDevice, IsTakenOverByTheNextWorkerWhenOneIsKilled) {
  plugAndWait();
  const pid_t killed = waitForWorker();
  ::kill(killed, SIGKILL);
  const StopWatch sinceKilled;
  EXPECT_NE(waitForWorkerAfter(killed), killed);
  expectThatItTravelsAgain();
  sinceKilled.print("from killed to a disk with its content again");
}

TEST_F(GivenBackDevice, IsGivenBackWhenTheDaemonIsKilledAndTravelsWithTheNextDaemon) {
  plugAndWait();
  const pid_t killed = daemon();
  ::kill(killed, SIGKILL);
  const StopWatch sinceKilled;
  waitForDriver(disk, "usb-storage");
  sinceKilled.print("from the daemon killed to the own driver");
  farProgram.waitForGone();
  EXPECT_NE(sim::StartScript::waitForDaemonAfter(killed), killed);
  expectThatItTravelsAgain();
}

}  // namespace
}  // namespace pair
