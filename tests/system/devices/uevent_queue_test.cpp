// The daemon's uevent socket: what waits in it, and what becomes of the daemon when it fails.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <sys/socket.h>

#include <csignal>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "sim/descriptor.h"
#include "sim/files.h"
#include "system/support/held_attribute.h"
#include "system/support/hotplug.h"

namespace {

constexpr int burst = 5000;

/** Whether a process of this unit may have a buffer beyond the system's limit. */
bool mayExceedBufferLimit() {
  const sim::Descriptor socket(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT));
  const int size = 1024 * 1024;
  return ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) == 0;
}

/** As the system tells of a socket that hears uevents. */
struct ListeningSocket {
  std::string portId;
  std::string groups;  ///< a hexadecimal mask
};

std::vector<ListeningSocket> listeningSockets() {
  std::vector<ListeningSocket> sockets;
  std::istringstream table(sim::readFile("/proc/net/netlink"));
  std::string line;
  std::getline(table, line);  // the headings
  while (std::getline(table, line)) {
    std::string address;
    int protocol = 0;
    ListeningSocket socket;
    std::istringstream(line) >> address >> protocol >> socket.portId >> socket.groups;
    if (protocol == NETLINK_KOBJECT_UEVENT && std::stoul(socket.groups, nullptr, 16) != 0) {
      sockets.push_back(socket);
    }
  }
  return sockets;
}

void multicast(const std::string& datagram, std::uint32_t groups) {
  const sim::Descriptor socket(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT));
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = groups;
  ASSERT_EQ(::sendto(socket.get(), datagram.data(), datagram.size(), 0,
                     reinterpret_cast<const sockaddr*>(&address), sizeof address),
            static_cast<ssize_t>(datagram.size()));
}

bool hasLost(const std::vector<sim::UeventSender::Listener>& listeners) {
  return listeners.empty() || listeners.front().lost > 0;
}

class UeventQueue : public Hotplug {};

TEST_F(UeventQueue, KeepsEventsThatComeWhileADeviceIsAwaited) {
  start();
  sim::UsbDevice unfinished;
  unfinished.deviceClass.reset();
  Messages expected = usbDevice(unfinished.directory(), {kind::undetermined});
  const Messages said = during([&] {
    unit.plug(unfinished);
    unit.daemon().waitForLine("subsystem is 'usb'");
    for (int i = 0; i < 20; ++i) {
      const std::string devpath = "/waiting/" + std::to_string(i);
      unit.uevents.send(sim::uevent("change", devpath));
      expected.push_back("[rx_ctrl] change " + devpath);
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
  HeldAttribute uevent(directory + "/uevent");
  Messages expected = usbDevice(directory, {});
  const Messages said = during([&] {
    unit.uevents.add(devpathOf(directory));
    uevent.waitForReader();
    for (int i = 0; i < burst; ++i) {
      // As long as the longest that a kernel was seen to send.
      const std::string devpath = "/burst/" + std::to_string(i);
      unit.uevents.send(sim::uevent("change", devpath, {{"MODALIAS", std::string(650, 'm')}}));
      expected.push_back("[rx_ctrl] change " + devpath);
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
  const Messages messages = unit.daemon().messages();
  ASSERT_GE(messages.size(), 2U);
  EXPECT_THAT(messages[messages.size() - 2],
              testing::MatchesRegex("No buffer space available while recvfrom\\(fd[0-9]+\\)"));
  EXPECT_EQ(messages.back(), "");  // the text of an exception has a line end of its own
}

TEST_F(UeventQueue, HearsEveryMulticastGroupAtAPortOfTheKernelsChoice) {
  start();
  const std::vector<ListeningSocket> sockets = listeningSockets();
  ASSERT_EQ(sockets.size(), 1U);
  EXPECT_EQ(sockets.front().groups, "ffffffff");
  EXPECT_NE(sockets.front().portId, "0");
}

TEST_F(UeventQueue, GivesEventsOfOtherGroupsThanTheKernels) {
  start();
  EXPECT_EQ(during([] { multicast(sim::uevent("change", "/group/2"), 2); }), rxCtrl({"change /group/2"}));
  EXPECT_EQ(during([] { multicast(sim::uevent("change", "/group/32"), 0x80000000U); }),
            rxCtrl({"change /group/32"}));
}

}  // namespace
