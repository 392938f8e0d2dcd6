// Devices that travel at the same time.

#include "kernel/guest/serial_port.h"
#include "kernel/pair/travel.h"

namespace pair {
namespace {

class SeveralDevices : public Travel {};

TEST_F(SeveralDevices, TravelAtOnce) {
  constexpr int count = 4;
  startBothEnds();
  const StopWatch sinceFirstPlug;
  desk.plug(guest::diskOf(randomDisk), guest::socketOf("xhci", 1));
  desk.plug(guest::keyboard(), guest::highSpeedSocket(1));
  desk.plug(guest::mouse(), guest::fullSpeedSocket(1));
  desk.plug(guest::disk(), guest::highSpeedSocket(2));
  farProgram.waitForAttached(count);
  sinceFirstPlug.print("from the first of four plugged to the last attached");
  EXPECT_EQ(workers().size(), std::size_t{count});
  EXPECT_EQ(farProgram.portsInUse(), count);
  EXPECT_EQ(waitForDisks(2).size(), 2U);
  waitForInputs(2);
}

TEST_F(SeveralDevices, AreThereAlreadyWhenTheUnitStarts) {
  desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
  desk.plug(guest::keyboard(), guest::fullSpeedSocket(1));
  startBothEnds();
  farProgram.waitForAttached(2);
  expectContentOf(waitForDisk(), guest::machineSetting("RANDOM_DISK_SHA256"));
}

TEST_F(SeveralDevices, TravelThoughTheyAreBehindAHub) {
  startBothEnds();
  const guest::PluggedDevice hub = desk.plug(guest::hub(), guest::fullSpeedSocket(1));
  desk.plugBehind(hub, 1, guest::mouse());
  desk.plugBehind(hub, 2, guest::diskOf(randomDisk));
  farProgram.waitForAttached(2);
  expectContentOf(waitForDisk(), guest::machineSetting("RANDOM_DISK_SHA256"));
  desk.takeOut(hub);
  farProgram.waitForGone(2);
  waitUntilNoWorkerRuns();
}

}  // namespace
}  // namespace pair
