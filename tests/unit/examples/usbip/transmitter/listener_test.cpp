#include "examples/usbip/transmitter/listener.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <optional>
#include <string>

#include "sim/descriptor.h"
#include "sim/files.h"
#include "sim/namespaces.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/loopback.h"
#include "support/thrown.h"
#include "unit/examples/usbip/transmitter/library_calls.h"

namespace {

constexpr std::uint16_t port = 5000;

template <class Address>
sim::Descriptor connectTo(const Address& address, int family) {
  sim::Descriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    socket.close();
  }
  return socket;
}

sim::Descriptor connectByIpv4(const char* text = "127.0.0.1") {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  ::inet_pton(AF_INET, text, &address.sin_addr);
  return connectTo(address, AF_INET);
}

sim::Descriptor connectByIpv6() {
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_port = htons(port);
  address.sin6_addr = in6addr_loopback;
  return connectTo(address, AF_INET6);
}

class ListenerTest : public testing::Test {
 protected:
  ListenerTest() { support::bringUpLoopback(); }

  const sim::Namespaces world;
};

TEST_F(ListenerTest, TakesConnectionsOfBothFamilies) {
  const usbip::Listener listener(port);
  const sim::Descriptor ipv4 = connectByIpv4();
  const auto first = listener.accept();
  const sim::Descriptor ipv6 = connectByIpv6();
  const auto second = listener.accept();
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->peer.text, "127.0.0.1");
  EXPECT_EQ(second->peer.text, "::1");
  EXPECT_TRUE(first->peer.isLocal);
  EXPECT_TRUE(second->peer.isLocal);
}

TEST_F(ListenerTest, ListensAtEveryAddressAndKnowsWhichAreOfOthers) {
  support::addAddress("192.0.2.1");
  const usbip::Listener listener(port);
  const sim::Descriptor client = connectByIpv4("192.0.2.1");
  const auto connection = listener.accept();
  ASSERT_TRUE(connection);
  EXPECT_EQ(connection->peer.text, "192.0.2.1");
  EXPECT_FALSE(connection->peer.isLocal);
}

TEST_F(ListenerTest, TakesIpv4AloneWhereTheKernelHasNoIpv6) {
  const support::Replaced withoutIpv6(library::socket, [](int domain, int type, int protocol) {
    if (domain == AF_INET6) {
      errno = EAFNOSUPPORT;
      return -1;
    }
    return library::socket.real(domain, type, protocol);
  });
  const usbip::Listener listener(port);
  const sim::Descriptor client = connectByIpv4();
  const auto connection = listener.accept();
  ASSERT_TRUE(connection);
  EXPECT_EQ(connection->peer.text, "127.0.0.1");
}

TEST_F(ListenerTest, TakesIpv4WhereIpv6IsSwitchedOff) {
  const std::string setting = "/proc/sys/net/ipv6/conf/all/disable_ipv6";
  sim::writeFile(setting, "1");
  ASSERT_EQ(sim::readFile(setting), "1\n");
  const usbip::Listener listener(port);
  EXPECT_TRUE(connectByIpv4().isOpen());
}

TEST_F(ListenerTest, WaitsForNobody) {
  const usbip::Listener listener(port);
  EXPECT_FALSE(listener.accept());
}

TEST_F(ListenerTest, HasSocketsThatDoNotWaitAndAreNotGivenAway) {
  const usbip::Listener listener(port);
  const sim::Descriptor client = connectByIpv4();
  const auto connection = listener.accept();
  ASSERT_TRUE(connection);
  for (const int fd : {listener.fd(), connection->socket->fd()}) {
    EXPECT_NE(::fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_TRUE(support::isCloseOnExec(fd));
  }
}

TEST_F(ListenerTest, ClosesAConnectionThatNobodyKeeps) {
  const usbip::Listener listener(port);
  const int next = support::nextDescriptor();
  sim::Descriptor client = connectByIpv4();
  static_cast<void>(listener.accept());
  client.close();
  EXPECT_EQ(support::nextDescriptor(), next);
}

TEST_F(ListenerTest, ComesBackToItsPortAtOnce) {
  std::optional<usbip::Listener> earlier(port);
  const sim::Descriptor client = connectByIpv4();
  static_cast<void>(earlier->accept());  // closed from here, so that it lingers in the kernel
  earlier.reset();
  EXPECT_NO_THROW(usbip::Listener{port});
}

TEST_F(ListenerTest, CannotListenWhereAnotherDoes) {
  const usbip::Listener listener(port);
  const auto failure = support::caught<ulx::ErrnoException>([] { usbip::Listener{port}; });
  EXPECT_EQ(failure.text(), "Address already in use while bind()\n");
}

TEST_F(ListenerTest, ReportsThatThereIsNoDescriptorForAConnection) {
  support::inChild([] {
    const usbip::Listener listener(port);
    const sim::Descriptor client = connectByIpv4();
    support::limitFurtherDescriptors(0);
    EXPECT_EQ(support::contextThrownBy([&listener] { static_cast<void>(listener.accept()); }), "accept()");
  });
}

}  // namespace
