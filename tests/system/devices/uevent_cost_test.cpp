// What an event of no interest costs: no system call but those that show that it is of none.

#include <sys/syscall.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "support/system_call_trace.h"
#include "system/support/hotplug.h"

namespace {

using support::SystemCallTrace;

using Calls = std::vector<unsigned long>;

/** Calls of the allocator and of sanitizers, which depend on the build. */
bool isOfTheBuild(unsigned long number) {
#ifdef SYS_mmap2
  if (number == SYS_mmap2) {
    return true;
  }
#endif
  return number == SYS_brk || number == SYS_mmap || number == SYS_munmap || number == SYS_sigaltstack;
}

/** The waits of the loop, of which each round has as many as the daemon has sources. */
bool isWait(unsigned long number) {
#ifdef SYS_select
  if (number == SYS_select) {
    return true;
  }
#endif
#ifdef SYS__newselect
  if (number == SYS__newselect) {
    return true;
  }
#endif
  return number == SYS_pselect6;
}

#ifdef SYS_readlink
constexpr unsigned long linkReading = SYS_readlink;
#else
constexpr unsigned long linkReading = SYS_readlinkat;
#endif

constexpr std::ptrdiff_t sources = 3;

/** It asks for the datagram's size before it takes the datagram. */
constexpr std::ptrdiff_t receptionCalls = 2;

/** What the daemon does for one event. */
struct Round {
  Calls calls;           ///< without the waits
  std::ptrdiff_t waits;  ///< for all sources at once, and for each
};

class UeventCost : public support::Hotplug {
 protected:
  void SetUp() override {
    if (const auto obstacle = SystemCallTrace::obstacle()) {
      GTEST_SKIP() << *obstacle;
    }
    unit.startDaemon({"--class=all", "transmitter", "5000", "high"});
    unit.waitUntilServing();
  }

  /** From the reception of such a datagram to that of the next one. */
  Round roundOf(const std::string& datagram) {
    SystemCallTrace trace(unit.daemon().pid());
    for (int i = 0; i < 3; ++i) {
      unit.uevents.send(datagram);
    }
    while (trace.next().number != SYS_recvfrom) {
    }
    callsToNextReception(trace);  // the first exception of a program costs more than any other
    Calls calls = callsToNextReception(trace);
    std::erase_if(calls, isOfTheBuild);
    const std::ptrdiff_t waits = std::count_if(calls.begin(), calls.end(), isWait);
    std::erase_if(calls, isWait);
    return {calls, waits};
  }

 private:
  /** From behind the call that asks for the size of a datagram up to the next such call. */
  static Calls callsToNextReception(SystemCallTrace& trace) {
    Calls calls;
    while (std::count(calls.begin(), calls.end(), SYS_recvfrom) < receptionCalls) {
      calls.push_back(trace.next().number);
    }
    return calls;
  }
};

TEST_F(UeventCost, IsTheReceptionAndOneLookAtEachSourceForOtherActions) {
  for (const std::string action : {"change", "remove", "bind"}) {
    const Round round = roundOf(sim::uevent(action, "/devices/x", {{"SUBSYSTEM", "usb"}}));
    EXPECT_EQ(round.calls, (Calls{SYS_recvfrom, SYS_recvfrom}));
    EXPECT_EQ(round.waits, 1 + sources);
  }
}

TEST_F(UeventCost, IsTheSameForEventsThatNameNoDevice) {
  const Round round = roundOf("add@/devices/x");
  EXPECT_EQ(round.calls, (Calls{SYS_recvfrom, SYS_recvfrom}));
  EXPECT_EQ(round.waits, 1 + sources);
}

TEST_F(UeventCost, IsTheWayToTheDeviceAndOneLinkForOtherSubsystems) {
  unit.sysfs.makeDirectory("/sys/devices/node");
  unit.sysfs.makeLink("/sys/devices/node/subsystem", "../../class/input");
  EXPECT_EQ(roundOf(sim::uevent("add", "/devices/node")).calls,
            (Calls{SYS_recvfrom, SYS_getcwd, SYS_chdir, SYS_getcwd, SYS_chdir, linkReading, SYS_recvfrom}));
}

TEST_F(UeventCost, IsOneReadingOfTheirUeventForInterfaces) {
  unit.sysfs.makeDirectory("/sys/devices/interface");
  unit.sysfs.makeLink("/sys/devices/interface/subsystem", "../../bus/usb");
  unit.sysfs.writeAttribute("/sys/devices/interface", "uevent", "DEVTYPE=usb_interface\n");
  EXPECT_EQ(roundOf(sim::uevent("add", "/devices/interface")).calls,
            (Calls{SYS_recvfrom, SYS_getcwd, SYS_chdir, SYS_getcwd, SYS_chdir, linkReading, SYS_openat,
                   SYS_read, SYS_read, SYS_close, SYS_recvfrom}));
}

TEST_F(UeventCost, IsTheFirstStepOnTheWayForADeviceThatHasGone) {
  EXPECT_EQ(roundOf(sim::uevent("add", "/devices/gone")).calls,
            (Calls{SYS_recvfrom, SYS_getcwd, SYS_chdir, SYS_recvfrom}));
}

}  // namespace
