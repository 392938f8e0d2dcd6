#include "hotplug/uevent_socket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <string>
#include <string_view>

#include "sim/contract.h"
#include "sim/descriptor.h"
#include "sim/uevent_sender.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "support/private_world.h"
#include "support/thrown.h"

namespace {

using namespace std::string_literals;
using support::Lines;

constexpr int kobjectUevent = 15;

int optionOf(int fd, int option) {
  int value = 0;
  socklen_t size = sizeof value;
  EXPECT_EQ(getsockopt(fd, SOL_SOCKET, option, &value, &size), 0);
  return value;
}

sockaddr_nl addressOf(int fd) {
  sockaddr_nl address{};
  socklen_t size = sizeof address;
  EXPECT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size), 0);
  return address;
}

std::string failedReceive(int fd) {
  return "recvfrom(fd" + std::to_string(fd) + ")";
}

// Takes the netlink socket's place: a datagram socket that can be sent what no netlink socket is.
class LocalDatagrams {
 public:
  explicit LocalDatagrams(const NetlinkClientSocket& socket) : fd_(socket.fd()) {
    std::array<int, 2> ends{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    dup2(ends[0], fd_);
    close(ends[0]);
    sender_ = sim::Descriptor(ends[1]);
  }

  void send(std::string_view datagram) const {
    EXPECT_EQ(::send(sender_.get(), datagram.data(), datagram.size(), 0),
              static_cast<ssize_t>(datagram.size()));
  }
  // A peek looks `offset` bytes further than a read does: at another datagram, if the first is no longer.
  void peekFrom(int offset) const {
    ASSERT_EQ(setsockopt(fd_, SOL_SOCKET, SO_PEEK_OFF, &offset, sizeof offset), 0);
  }

 private:
  int fd_;
  sim::Descriptor sender_;
};

using UeventSocketInAWorld = support::PrivateWorld;

TEST(UeventSocket, HearsEveryGroupOfTheKernelsUevents) {
  NetlinkClientSocket socket;
  EXPECT_EQ(optionOf(socket.fd(), SO_DOMAIN), PF_NETLINK);
  EXPECT_EQ(optionOf(socket.fd(), SO_TYPE), SOCK_DGRAM);
  EXPECT_EQ(optionOf(socket.fd(), SO_PROTOCOL), kobjectUevent);
  EXPECT_EQ(addressOf(socket.fd()).nl_groups, 0xFFFFFFFFU);
  EXPECT_NE(addressOf(socket.fd()).nl_pid, 0U) << "an address that the kernel has chosen";
}

TEST(UeventSocket, BlocksAndIsNotGivenToWorkers) {
  NetlinkClientSocket socket;
  EXPECT_TRUE(support::isCloseOnExec(socket.fd()));
  EXPECT_EQ(fcntl(socket.fd(), F_GETFL) & O_NONBLOCK, 0);
}

TEST(UeventSocket, IsNamedByItsNumberAndReleasedAtItsEnd) {
  const auto before = support::openDescriptors();
  std::optional<NetlinkClientSocket> socket(std::in_place);
  EXPECT_EQ(socket->name(), "fd" + std::to_string(socket->fd()));
  socket.reset();
  EXPECT_EQ(support::openDescriptors(), before);
}

TEST(UeventSocket, HasAReceiveBufferBeyondTheSystemsLimitWherePrivilegeAllows) {
  constexpr int sixteenMebibytes = 16 * 1024 * 1024;
  const sim::Descriptor other(socket(PF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, kobjectUevent));
  if (setsockopt(other.get(), SOL_SOCKET, SO_RCVBUFFORCE, &sixteenMebibytes, sizeof sixteenMebibytes) == -1) {
    GTEST_SKIP() << "no privilege";
  }
  NetlinkClientSocket socket;
  EXPECT_EQ(optionOf(socket.fd(), SO_RCVBUF), 2 * sixteenMebibytes) << "the kernel doubles what is asked for";
}

TEST(UeventSocket, HasTheLargestReceiveBufferThatTheSystemAllowsWithoutPrivilege) {
  support::inChild([] {
    support::dropPrivileges();
    constexpr int sixteenMebibytes = 16 * 1024 * 1024;
    const sim::Descriptor other(socket(PF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, kobjectUevent));
    const int usual = optionOf(other.get(), SO_RCVBUF);
    ASSERT_EQ(setsockopt(other.get(), SOL_SOCKET, SO_RCVBUF, &sixteenMebibytes, sizeof sixteenMebibytes), 0);
    NetlinkClientSocket socket;
    EXPECT_EQ(optionOf(socket.fd(), SO_RCVBUF), optionOf(other.get(), SO_RCVBUF));
    EXPECT_GE(optionOf(socket.fd(), SO_RCVBUF), usual);
  });
}

TEST_F(UeventSocketInAWorld, ReceivesADatagramWholeWithItsNulBytes) {
  NetlinkClientSocket socket;
  const std::string datagram = "add@/devices/x\0ACTION=add\0"s;
  sim::UeventSender().send(datagram);
  EXPECT_EQ(socket.recvfrom(), datagram);
}

TEST_F(UeventSocketInAWorld, ReceivesDatagramsOneByOneInTheirOrder) {
  NetlinkClientSocket socket;
  const sim::UeventSender kernel;
  kernel.send("one");
  kernel.send("twenty");
  kernel.send("3");
  EXPECT_EQ(socket.recvfrom(), "one");
  EXPECT_EQ(socket.recvfrom(), "twenty");
  EXPECT_EQ(socket.recvfrom(), "3");
}

TEST_F(UeventSocketInAWorld, KeepsTheMemoryOfAUsualDatagramAndOfNoLongerOne) {
  NetlinkClientSocket socket;
  const sim::UeventSender kernel;
  kernel.send(std::string(2'000, 'x'));
  kernel.send("short");
  kernel.send(std::string(100'000, 'x'));
  kernel.send("short");
  (void)socket.recvfrom();
  EXPECT_GE(socket.recvfrom().capacity(), 2'000U);
  (void)socket.recvfrom();
  EXPECT_LT(socket.recvfrom().capacity(), 2'000U);
}

TEST(UeventSocket, ReceivesAnEmptyDatagram) {
  NetlinkClientSocket socket;
  const LocalDatagrams datagrams(socket);
  datagrams.send("");
  datagrams.send("next");
  EXPECT_EQ(socket.recvfrom(), "");
  EXPECT_EQ(socket.recvfrom(), "next");
}

TEST_F(UeventSocketInAWorld, SplitsOneDatagramIntoItsEnvironment) {
  NetlinkClientSocket socket;
  const sim::UeventSender kernel;
  kernel.send("add@/devices/x\0ACTION=add\0DEVPATH=/devices/x\0"s);
  kernel.send("remove@/devices/x\0ACTION=remove"s);
  EXPECT_EQ(socket.readUEvent(), (UEvent{{"ACTION", "add"}, {"DEVPATH", "/devices/x"}}));
  EXPECT_EQ(socket.readUEvent(), (UEvent{{"ACTION", "remove"}}));
}

// A datagram of three bytes, and one of ten behind it, which the peek is to find.
LocalDatagrams misleadingDatagrams(const NetlinkClientSocket& socket) {
  LocalDatagrams datagrams(socket);
  datagrams.send("A=b");
  datagrams.send("0123456789");
  datagrams.peekFrom(3);
  return datagrams;
}

TEST(UeventSocket, ADatagramShorterThanItWasPeekedIsFilledUpWithZeroBytesAndWarnedOf) {
  NetlinkClientSocket socket;
  const LocalDatagrams datagrams = misleadingDatagrams(socket);
  EXPECT_EQ(support::logDuring([&socket] { EXPECT_EQ(socket.recvfrom(), "A=b" + std::string(7, '\0')); }),
            Lines{contract::error::shorterThanPeeked});
}

TEST(UeventSocket, ADatagramShorterThanItWasPeekedIsStillSplit) {
  NetlinkClientSocket socket;
  const LocalDatagrams datagrams = misleadingDatagrams(socket);
  const support::CapturedStandardError captured;
  EXPECT_EQ(socket.readUEvent(), (UEvent{{"A", "b"}}));
}

TEST(UeventSocket, ADatagramOfThePeekedLengthIsNotWarnedOf) {
  NetlinkClientSocket socket;
  const LocalDatagrams datagrams(socket);
  datagrams.send("A=b");
  EXPECT_EQ(support::logDuring([&socket] { (void)socket.recvfrom(); }), Lines{});
}

TEST_F(UeventSocketInAWorld, ThrowsWhenUeventsWereLostAndReceivesTheOthersAfterwards) {
  NetlinkClientSocket socket;
  constexpr int small = 4096;
  ASSERT_EQ(setsockopt(socket.fd(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small), 0);
  const sim::UeventSender kernel;
  for (int i = 0; i < 100; ++i) {
    kernel.send(std::to_string(i) + std::string(1000, ' '));
  }
  const auto e = support::caught<ulx::ErrnoException>([&socket] { (void)socket.recvfrom(); });
  EXPECT_EQ(e.errorNumber, ENOBUFS);
  EXPECT_EQ(e.context, failedReceive(socket.fd()));
  EXPECT_EQ(socket.recvfrom().front(), '0');
}

TEST(UeventSocket, ThrowsWhenNothingCanBeReceived) {
  NetlinkClientSocket socket;
  fcntl(socket.fd(), F_SETFL, O_NONBLOCK);
  EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([&socket] { (void)socket.recvfrom(); }),
            failedReceive(socket.fd()));
  EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([&socket] { (void)socket.readUEvent(); }),
            failedReceive(socket.fd()));
}

TEST_F(UeventSocketInAWorld, ThrowsWhenADatagramIsThereButCannotBeTaken) {
  NetlinkClientSocket socket;
  sim::UeventSender().send("A=b");
  const support::ArgumentIs takingNotPeeking{.index = 3, .value = 0};
  support::inChildWithFailing(
      {.number = SYS_recvfrom, .error = EIO, .argument = takingNotPeeking}, [&socket] {
        EXPECT_EQ(support::contextThrownBy<ulx::IOError>([&socket] { (void)socket.recvfrom(); }),
                  failedReceive(socket.fd()));
      });
}

TEST_F(UeventSocketInAWorld, OfAnyKindIsBoundToThePortAndTheGroupsItIsGiven) {
  const sim::Descriptor socket(openNetlinkSocket(kobjectUevent, 4711, 5));
  EXPECT_EQ(addressOf(socket.get()).nl_pid, 4711U);
  EXPECT_EQ(addressOf(socket.get()).nl_groups, 5U);
}

TEST(UeventSocket, OfAnUnknownProtocolCannotBeMade) {
  EXPECT_EQ(support::contextThrownBy([] { (void)openNetlinkSocket(-1, 0, 0); }), "socket(PF_NETLINK)");
}

TEST(UeventSocket, CannotBeMadeWithoutAFreeDescriptor) {
  support::inChild([] {
    support::limitFurtherDescriptors(0);
    EXPECT_EQ(support::contextThrownBy([] { const NetlinkClientSocket socket; }), "socket(PF_NETLINK)");
  });
}

TEST_F(UeventSocketInAWorld, OfAnyKindCannotBeBoundToAPortInUseAndStaysOpenThen) {
  const sim::Descriptor first(openNetlinkSocket(kobjectUevent, 4711, 1));
  const auto before = support::openDescriptors();
  EXPECT_EQ(support::contextThrownBy([] { (void)openNetlinkSocket(kobjectUevent, 4711, 1); }), "bind()");
  EXPECT_EQ(support::openDescriptors().size(), before.size() + 1);
}

}  // namespace
