// The queue of the daemon's uevent socket: what waits in it, and what becomes of the daemon when it overflows.

#include <gmock/gmock.h>
#include <linux/netlink.h>
#include <sys/socket.h>

#include <csignal>
#include <string>
#include <vector>

#include "sim/descriptor.h"
#include "support/held_attribute.h"
#include "system/support/hotplug.h"

namespace {

using support::Lines;

namespace debug = contract::debug;

constexpr int burst = 5000;

/** Whether a process of this unit may have a buffer beyond the system's limit. */
bool mayExceedBufferLimit() {
  const sim::Descriptor socket(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT));
  const int size = 1024 * 1024;
  return ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) == 0;
}

bool hasLost(const std::vector<sim::UeventSender::Listener>& listeners) {
  return listeners.empty() || listeners.front().lost > 0;
}

using UeventQueue = support::Hotplug;

TEST_F(UeventQueue, KeepsEventsThatComeWhileADeviceIsAwaited) {
  start();
  sim::UsbDevice unfinished;
  unfinished.deviceClass.reset();
  Lines expected = support::usbDevice(unfinished.directory(), {debug::undetermined});
  const Lines said = during([&] {
    unit.plug(unfinished);
    unit.daemon().waitForLine(debug::subsystem("usb"));
    for (int i = 0; i < 20; ++i) {
      const std::string devpath = "/waiting/" + std::to_string(i);
      unit.uevents.send(sim::uevent("change", devpath));
      expected.push_back(debug::tag + debug::event("change", devpath));
    }
  });
  EXPECT_EQ(said, expected);
}

TEST_F(UeventQueue, KeepsABurstOfThousandsWhileADeviceIsHandled) {
  if (!mayExceedBufferLimit()) {
    GTEST_SKIP() << "only a privileged daemon gets a receive buffer beyond the system's limit";
  }
  start();
  const std::string directory = unit.sysfs.add(sim::UsbDevice());
  support::HeldAttribute uevent(directory + "/uevent");
  Lines expected = support::usbDevice(directory, {});
  const Lines said = during([&] {
    unit.uevents.add(support::devpathOf(directory));
    uevent.waitForReader();
    for (int i = 0; i < burst; ++i) {
      // As long as the longest that a kernel was seen to send.
      const std::string devpath = "/burst/" + std::to_string(i);
      unit.uevents.send(sim::uevent("change", devpath, {{"MODALIAS", std::string(650, 'm')}}));
      expected.push_back(debug::tag + debug::event("change", devpath));
    }
    EXPECT_FALSE(hasLost(sim::UeventSender::listeners()));
    uevent.release("");
  });
  EXPECT_EQ(said, expected);
}

TEST_F(UeventQueue, EndsTheDaemonWithAnErrorWhenEventsWereLost) {
  start();
  unit.daemon().signal(SIGSTOP);
  const std::string datagram = sim::uevent("change", "/x", {{"FILLER", std::string(60000, 'f')}});
  while (!hasLost(sim::UeventSender::listeners())) {
    unit.uevents.send(datagram);
  }
  unit.daemon().signal(SIGCONT);

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  const Lines messages = unit.daemon().messages();
  ASSERT_GE(messages.size(), 2U);
  EXPECT_THAT(messages[messages.size() - 2],
              testing::MatchesRegex("No buffer space available while recvfrom\\(fd[0-9]+\\)"));
  EXPECT_EQ(messages.back(), "");  // the text of an exception has a line end of its own
}

}  // namespace
