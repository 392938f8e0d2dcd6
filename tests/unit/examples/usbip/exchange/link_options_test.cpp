#include "examples/usbip/exchange/link_options.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>

#include "sim/deadline.h"
#include "sim/descriptor.h"
#include "sim/namespaces.h"
#include "support/thrown.h"
#include "ulx/exceptions.h"

namespace {

void expectSucceeds(int result, const char* call) {
  if (result == -1) {
    throw std::system_error(errno, std::generic_category(), call);
  }
}

sim::Descriptor tcpSocket() {
  sim::Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  expectSucceeds(socket.get(), "socket");
  return socket;
}

/** A connection over the loopback interface of a network of its own. */
struct Connection {
  Connection() {
    setLoopback(true);
    const sim::Descriptor listener = tcpSocket();
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    expectSucceeds(bind(listener.get(), any, size), "bind");
    expectSucceeds(listen(listener.get(), 1), "listen");
    expectSucceeds(getsockname(listener.get(), any, &size), "getsockname");
    expectSucceeds(connect(near.get(), any, size), "connect");
    far = sim::Descriptor(accept(listener.get(), nullptr, nullptr));
    expectSucceeds(far.get(), "accept");
  }

  /** Nothing goes through while it is down, and nobody is notified. */
  void setLoopback(bool up) const {
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = up ? IFF_UP : 0;
    expectSucceeds(ioctl(near.get(), SIOCSIFFLAGS, &request), "ioctl");
  }

  sim::Namespaces world;
  sim::Descriptor near = tcpSocket();
  sim::Descriptor far;
};

int optionOf(int socket, int level, int option) {
  int value = -1;
  socklen_t size = sizeof value;
  expectSucceeds(getsockopt(socket, level, option, &value, &size), "getsockopt");
  return value;
}

double secondsUntilBroken(int socket) {
  const auto start = std::chrono::steady_clock::now();
  const sim::Deadline deadline(3.0 * usbip::silenceLimit);
  pollfd wait{.fd = socket, .events = POLLRDHUP, .revents = 0};
  EXPECT_EQ(poll(&wait, 1, deadline.millisecondsLeft()), 1) << "it has not been noticed";
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void expectNoticedInTime(const Connection& connection) {
  connection.setLoopback(false);
  const double seconds = secondsUntilBroken(connection.near.get());
  EXPECT_GE(seconds, 0.5 * usbip::silenceLimit) << "a short trouble breaks no link";
  EXPECT_LE(seconds, 2.0 * usbip::silenceLimit);
  EXPECT_EQ(optionOf(connection.near.get(), SOL_SOCKET, SO_ERROR), ETIMEDOUT);
}

TEST(LinkOptions, HaveSmallPacketsSentAtOnce) {
  const Connection connection;
  EXPECT_EQ(optionOf(connection.near.get(), IPPROTO_TCP, TCP_NODELAY), 0);
  usbip::prepareLink(connection.near.get());
  EXPECT_NE(optionOf(connection.near.get(), IPPROTO_TCP, TCP_NODELAY), 0);
}

TEST(LinkOptions, HaveTheEndOfAnIdleLinkNoticed) {
  const Connection connection;
  usbip::prepareLink(connection.near.get());
  expectNoticedInTime(connection);
}

TEST(LinkOptions, HaveTheEndOfABusyLinkNoticed) {
  const Connection connection;
  usbip::prepareLink(connection.near.get());
  connection.setLoopback(false);
  ASSERT_EQ(write(connection.near.get(), "unanswered", 10), 10);
  expectNoticedInTime(connection);
}

TEST(LinkOptions, CannotBeSetOnWhatIsNoTcpSocket) {
  const sim::Descriptor local(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  EXPECT_EQ(support::contextThrownBy([&] { usbip::prepareLink(local.get()); }), "setsockopt(TCP_NODELAY)");
  EXPECT_EQ(support::contextThrownBy([] { usbip::prepareLink(-1); }), "setsockopt(TCP_NODELAY)");
}

}  // namespace
