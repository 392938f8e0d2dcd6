// A device is taken out at the receiver.

#include "kernel/pair/travel.h"

namespace pair {
namespace {

class Unplug : public Travel {};

TEST_F(Unplug, FreesThePortAndEndsTheWorkerWellAtBothEnds) {
  startBothEnds();
  const guest::PluggedDevice disk = desk.plug(guest::disk(), guest::highSpeedSocket(1));
  farProgram.waitForAttached();
  waitForDisk();
  EXPECT_EQ(farProgram.portsInUse(), 1);
  const pid_t worker = waitForWorker();

  desk.takeOut(disk);
  const StopWatch sinceTakenOut;
  farProgram.waitForGone();
  sinceTakenOut.print("from taken out to gone there");
  syslog.waitForText(contract::debug::terminated(worker));
  EXPECT_EQ(syslog.waitForText("status").text, contract::debug::line(contract::debug::withStatus(0)));
  syslog.waitForText(contract::debug::gone(disk.directory));
  EXPECT_TRUE(workers().empty());
  waitForDisks(0);
  EXPECT_EQ(farProgram.portsInUse(), 0);
}

TEST_F(Unplug, LetsTheNextDeviceInTheSameSocketTravel) {
  startBothEnds();
  for (const int time : {1, 2, 3}) {
    const guest::PluggedDevice mouse = desk.plug(guest::mouse(), guest::fullSpeedSocket(1));
    farProgram.waitForAttached(time);
    waitForInputs(1);
    desk.takeOut(mouse);
    farProgram.waitForGone(time);
  }
}

}  // namespace
}  // namespace pair
