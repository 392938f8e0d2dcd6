// A device is plugged in while nothing listens at the far machine.

#include <algorithm>

#include "kernel/guest/serial_port.h"
#include "kernel/pair/travel.h"
#include "sim/files.h"

namespace pair {
namespace {

/** A worker that waits tries every quarter of a second. */
constexpr double secondsToAttach = 3;

class AbsentFarSide : public Travel {
 protected:
  /** Plugs a disk in, and waits until the daemon has given up. */
  guest::PluggedDevice plugInVain() {
    const StopWatch sincePlug;
    guest::PluggedDevice disk = desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
    EXPECT_EQ(display.waitForWrite(), contract::display::noTransmitter(disk.device.product) + "\n");
    sincePlug.print("from plugged to the line on the display");
    return disk;
  }
  /** Words of the worker's command line, with blanks between them. */
  static std::string argumentsOf(pid_t worker) {
    std::string words = sim::readFile("/proc/" + std::to_string(worker) + "/cmdline");
    std::replace(words.begin(), words.end(), '\0', ' ');
    return words;
  }
};

TEST_F(AbsentFarSide, IsReportedAfterFiveFailuresAndThenWaitedFor) {
  constexpr int failures = 5;
  startUnit();
  const guest::PluggedDevice disk = plugInVain();
  for (int failure = 1; failure <= failures; ++failure) {
    syslog.waitForText(contract::debug::withStatus(1));
  }
  EXPECT_NE(argumentsOf(waitForWorker()).find(" --timeout 10 "), std::string::npos);
  EXPECT_EQ(driverOf(disk, "1.0"), "usb-storage");

  farProgram.start("--allow-any-peer");
  const StopWatch sinceStart;
  farProgram.waitForAttached();
  sinceStart.print("from a far side that is there to attached");
  EXPECT_LE(sinceStart.seconds(), secondsToAttach);
  expectContentOf(waitForDisk(), guest::machineSetting("RANDOM_DISK_SHA256"));
}

TEST_F(AbsentFarSide, IsWaitedForForTheConfiguredTimeAgainAndAgain) {
  startUnit({.usb = "connect_fail_timeout = 2\n"});
  plugInVain();
  syslog.waitForText(contract::debug::waitedInVain);
  const StopWatch sinceFirstWait;
  syslog.waitForText(contract::debug::waitedInVain);
  sinceFirstWait.print("one worker that waits for 2 s");
  EXPECT_GE(sinceFirstWait.seconds(), 2.0);
  EXPECT_LE(sinceFirstWait.seconds(), 4.0);
}

TEST_F(AbsentFarSide, IsNoticedWhenItEndsAndADeviceComesBackWithTheNextOne) {
  startBothEnds();
  const guest::PluggedDevice disk = desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
  farProgram.waitForAttached();
  EXPECT_EQ(farProgram.stop(), 0);
  EXPECT_EQ(farProgram.portsInUse(), 0);
  EXPECT_EQ(display.waitForWrite(), contract::display::noTransmitter(disk.device.product) + "\n");
  farProgram.start("--allow-any-peer");
  farProgram.waitForAttached();
  expectContentOf(waitForDisk(), guest::machineSetting("RANDOM_DISK_SHA256"));
}

}  // namespace
}  // namespace pair
