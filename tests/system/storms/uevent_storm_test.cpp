// Twenty thousand events while the daemon waits for one device, and signals interrupt it.

#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <sys/socket.h>

#include <csignal>
#include <string>

#include "sim/descriptor.h"
#include "sim/footprint.h"
#include "sim/signal_storm.h"
#include "system/support/hotplug.h"

namespace {

using support::Lines;

namespace debug = contract::debug;

constexpr int storm = 20'000;

/** For code that runs for the first time, and what the heap keeps. The storm is thirty times that. */
#ifdef __SANITIZE_ADDRESS__
constexpr long toleratedKilobytes = 256 * 1024;  // it keeps what has been freed
#else
constexpr long toleratedKilobytes = 128;
#endif

/** Whether a process of this unit may have a buffer beyond the system's limit. */
bool mayExceedBufferLimit() {
  const sim::Descriptor socket(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT));
  const int size = 1024 * 1024;
  return ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) == 0;
}

class UeventStorm : public support::Hotplug {
 protected:
  void SetUp() override {
    if (!mayExceedBufferLimit()) {
      GTEST_SKIP() << "only a privileged daemon gets a receive buffer beyond the system's limit";
    }
    start();
    kindOf({.name = "1-9", .deviceClass = "09"});  // the way to a device has been gone once
  }

  /** Announces a device that never tells what it is; the daemon waits three seconds for it. */
  std::string plugUnfinishedDevice() {
    sim::UsbDevice unfinished;
    unfinished.deviceClass.reset();
    const std::string directory = unit.plug(unfinished);
    unit.daemon().waitForLine(debug::subsystem("usb"));
    return directory;
  }

  /** Sends that many events, and appends what the daemon is to say of them. */
  void sendEvents(Lines& expected) {
    for (int i = 0; i < storm; ++i) {
      const std::string devpath = "/storm/" + std::to_string(i);
      unit.uevents.send(sim::uevent("change", devpath, {{"MODALIAS", std::string(100, 'm')}}));
      expected.push_back(debug::tag + debug::event("change", devpath));
    }
  }

  sim::Footprint footprint() { return sim::footprintOf(unit.daemon().pid()); }
};

TEST_F(UeventStorm, IsHandledInOrderAfterADeviceWasAwaitedAndLeavesNoMemory) {
  const sim::Footprint before = footprint();
  const sim::SignalStorm signals(unit.daemon().pid(), {SIGHUP, SIGCHLD});
  Lines expected;
  const Lines said = during([&] {
    expected = support::usbDevice(plugUnfinishedDevice(), {});
    sendEvents(expected);
    EXPECT_FALSE(unit.daemon().hasLine(debug::undetermined)) << "the storm came too late";
    expected.insert(expected.begin() + 2, debug::line(debug::undetermined));
    unit.daemon().waitForLine(expected.back(), sim::Deadline(60));
  });
  EXPECT_TRUE(said == expected) << said.size() << " of " << expected.size() << " messages";
  EXPECT_GT(signals.sent(), 0);
  EXPECT_LE(footprint().residentKilobytes, before.residentKilobytes + toleratedKilobytes);
  EXPECT_EQ(footprint().descriptors, before.descriptors);
  EXPECT_EQ(sim::UeventSender::listeners().front().queuedBytes, 0U);
}

}  // namespace
