// The wire between the machines is cut, and neither sees its carrier go.

#include "kernel/guest/serial_port.h"
#include "kernel/pair/travel.h"

namespace pair {
namespace {

/** Both ends promise ten; the kernel's timers and the emulation add to them. */
constexpr double secondsToNotice = 15;
/** A connection that is being made is tried again by the kernel after 1, 2, 4 seconds and so on. */
constexpr double secondsToComeBack = 20;

class CutWire : public Travel {
 protected:
  void expectNoticedAtBothEnds() {
    const StopWatch sinceCut;
    syslog.waitForText(contract::debug::withStatus(1), sim::Deadline(secondsToNotice));
    sinceCut.print("from cut to noticed at the receiver");
    EXPECT_LE(sinceCut.seconds(), secondsToNotice);
    farProgram.waitForGone(1, sim::Deadline(secondsToNotice));
    sinceCut.print("from cut to noticed at both ends");
    EXPECT_LE(sinceCut.seconds(), secondsToNotice);
  }

  void expectBackAfterHealing() {
    wire.heal();
    const StopWatch sinceHealed;
    farProgram.waitForAttached(2);
    sinceHealed.print("from healed to attached again");
    EXPECT_LE(sinceHealed.seconds(), secondsToComeBack);
    expectContentOf(waitForDisk(), guest::machineSetting("RANDOM_DISK_SHA256"));
  }
};

TEST_F(CutWire, IsNoticedAtBothEndsAndAnIdleDiskComesBack) {
  startBothEnds();
  desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
  waitForDisk();
  wire.cut();
  expectNoticedAtBothEnds();
  expectBackAfterHealing();
}

TEST_F(CutWire, IsNoticedAtBothEndsAndADiskThatIsReadComesBack) {
  startBothEnds();
  desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
  far.read("while dd if=" + waitForDisk() + " of=/dev/null bs=64k iflag=direct; do :; done 2>/dev/null &");
  wire.cut();
  expectNoticedAtBothEnds();
  expectBackAfterHealing();
}

TEST_F(CutWire, IsNotNoticedWhenItHealsSoon) {
  startBothEnds();
  desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
  const std::string disk = waitForDisk();
  const pid_t worker = waitForWorker();
  wire.cut();
  far.call("usleep 3000000");
  wire.heal();
  expectContentOf(disk, guest::machineSetting("RANDOM_DISK_SHA256"));
  EXPECT_EQ(waitForWorker(), worker);
}

}  // namespace
}  // namespace pair
