// A disk that is plugged into the receiver appears on the far machine as it is.

#include "kernel/guest/serial_port.h"
#include "kernel/pair/travel.h"
#include "support/named_case.h"

namespace pair {
namespace {

/** In emulation, on processors that others use, too. */
constexpr double secondsToAttach = 2;

struct Bus : support::NamedCase {
  const char* controller;
};

class TravellingDisk : public Travel {};
class TravellingDiskOfEverySpeed : public Travel, public testing::WithParamInterface<Bus> {};

INSTANTIATE_TEST_SUITE_P(Speeds, TravellingDiskOfEverySpeed,
                         testing::ValuesIn(std::vector<Bus>{
                             {"Full", "ohci"}, {"High", "ehci"}, {"Super", "xhci"}}),
                         testing::PrintToStringParamName());

TEST_P(TravellingDiskOfEverySpeed, ArrivesInTimeAndHasTheSameContent) {
  startBothEnds();
  const StopWatch sincePlug;
  const guest::PluggedDevice disk =
      desk.plug(guest::diskOf(randomDisk), guest::socketOf(GetParam().controller));
  farProgram.waitForAttached();
  sincePlug.print("from plugged to attached");
  EXPECT_LE(sincePlug.seconds(), secondsToAttach);
  const std::string farDisk = waitForDisk();
  sincePlug.print("from plugged to a disk there");
  EXPECT_EQ(driverOf(disk), "usbip-host");
  expectContentOf(farDisk, guest::machineSetting("RANDOM_DISK_SHA256"));
}

TEST_F(TravellingDisk, KeepsWhatTheFarMachineWrites) {
  startBothEnds();
  const guest::PluggedDevice first = desk.plug(guest::diskOf("blank.disk"), guest::highSpeedSocket(1));
  const std::string written =
      far.read("head -c 1048576 /dev/urandom >/tmp/written; sha256sum </tmp/written; dd if=/tmp/written of=" +
               waitForDisk() + " bs=64k conv=fsync 2>/dev/null");
  desk.takeOut(first);
  farProgram.waitForGone();
  desk.plug(first.device, guest::highSpeedSocket(2));
  EXPECT_EQ(far.read("head -c 1048576 " + waitForDisk() + " | sha256sum"), written);
}

}  // namespace
}  // namespace pair
