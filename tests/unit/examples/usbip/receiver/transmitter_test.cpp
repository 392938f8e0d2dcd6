#include "examples/usbip/receiver/transmitter.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill is POSIX's
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <future>
#include <optional>
#include <string>

#include "examples/usbip/exchange/log.h"
#include "examples/usbip/receiver/addresses.h"
#include "examples/usbip/receiver/termination.h"
#include "sim/wait.h"
#include "support/output.h"
#include "support/thrown.h"
#include "unit/examples/usbip/receiver/private_network.h"
#include "unit/examples/usbip/receiver/tcp_port.h"

namespace {

using usbip::Clock;
using usbip::Connection;
using usbip::Transmitter;

std::string boundInterface(const Connection& connection) {
  std::array<char, IFNAMSIZ> name{};
  socklen_t size = name.size();
  ::getsockopt(connection.socket(), SOL_SOCKET, SO_BINDTODEVICE, name.data(), &size);
  return name.data();
}

int tcpOption(const Connection& connection, int option) {
  int value = -1;
  socklen_t size = sizeof value;
  ::getsockopt(connection.socket(), IPPROTO_TCP, option, &value, &size);
  return value;
}

class TransmitterNetwork : public testing::Test {
 protected:
  [[nodiscard]] Connection connect(const Transmitter& transmitter) const {
    return connectTo(transmitter, termination, log);
  }
  [[nodiscard]] std::string failure(const Transmitter& transmitter) const {
    return support::caught<usbip::NotReached>([&] { static_cast<void>(connect(transmitter)); }).message;
  }

  PrivateNetwork network;
  usbip::Termination termination;
  usbip::Log log{"usb_rx_usbip", usbip::LogDestination::standardError, true};
};

TEST_F(TransmitterNetwork, IsReachedByAnIpv4Address) {
  const TcpPort port("127.0.0.1");
  port.listen();
  const Connection connection = connect({.interface = "", .host = "127.0.0.1", .port = port.number()});
  EXPECT_EQ(connection.farEnd(), "127.0.0.1 port " + port.number());
  EXPECT_TRUE(port.accept().isOpen());
}

TEST_F(TransmitterNetwork, IsReachedByAnIpv6Address) {
  const TcpPort port("::1");
  port.listen();
  EXPECT_EQ(connect({.interface = "", .host = "::1", .port = port.number()}).farEnd(),
            "::1 port " + port.number());
}

TEST_F(TransmitterNetwork, IsReachedByAName) {
  const TcpPort port("127.0.0.3");
  port.listen();
  PrivateNetwork::setHosts("127.0.0.3 transmitter\n");
  EXPECT_EQ(connect({.interface = "", .host = "transmitter", .port = port.number()}).farEnd(),
            "127.0.0.3 port " + port.number());
}

TEST_F(TransmitterNetwork, IsReachedOnTheLinkOfTheInterface) {
  PrivateNetwork::addIpv6Address("fe80::1");
  const TcpPort port("fe80::1%lo");
  port.listen();
  EXPECT_EQ(connect({.interface = "lo", .host = "fe80::1", .port = port.number()}).farEnd(),
            "fe80::1 port " + port.number());
}

TEST_F(TransmitterNetwork, IsReachedThroughTheInterfaceAlone) {
  const TcpPort port("127.0.0.1");
  port.listen();
  EXPECT_EQ(boundInterface(connect({.interface = "lo", .host = "127.0.0.1", .port = port.number()})), "lo");
}

TEST_F(TransmitterNetwork, IsReachedThroughAnyInterfaceWhereThereIsNoneOfThatName) {
  const TcpPort port("127.0.0.1");
  port.listen();
  EXPECT_EQ(boundInterface(connect({.interface = "eth1", .host = "127.0.0.1", .port = port.number()})), "");
}

TEST_F(TransmitterNetwork, GetsAConnectionThatNoticesASilentNetwork) {
  const TcpPort port("127.0.0.1");
  port.listen();
  const Connection connection = connect({.interface = "", .host = "127.0.0.1", .port = port.number()});
  EXPECT_EQ(tcpOption(connection, TCP_USER_TIMEOUT), 10'000);
  EXPECT_EQ(tcpOption(connection, TCP_NODELAY), 1);
}

TEST_F(TransmitterNetwork, IsNotReachedWhereNobodyListens) {
  const TcpPort port("127.0.0.1");
  EXPECT_EQ(failure({.interface = "", .host = "127.0.0.1", .port = port.number()}),
            "127.0.0.1 port " + port.number() +
                " is not reached: Connection refused while connect(127.0.0.1 port " + port.number() + ")");
}

TEST_F(TransmitterNetwork, IsNotReachedByAnUnknownName) {
  EXPECT_EQ(failure({.interface = "", .host = "transmitter", .port = "5000"}),
            "transmitter port 5000 is not reached: Name or service not known");
}

TEST_F(TransmitterNetwork, IsNotReachedAtPortZero) {
  EXPECT_NE(
      failure({.interface = "", .host = "127.0.0.1", .port = "0"}).find("127.0.0.1 port 0 is not reached"),
      std::string::npos);
}

TEST_F(TransmitterNetwork, IsNotTheWorkerItself) {
  PrivateNetwork::setOnlyLocalPort("40001");
  EXPECT_EQ(failure({.interface = "", .host = "127.0.0.1", .port = "40001"}),
            "127.0.0.1 port 40001 is not reached: Connection refused while connect(127.0.0.1 port 40001)");
}

TEST_F(TransmitterNetwork, HasTenSecondsToAnswer) {
  TcpPort port("127.0.0.1");
  port.ignoreEverybody();
  const auto start = Clock::now();
  EXPECT_EQ(failure({.interface = "", .host = "127.0.0.1", .port = port.number()}),
            "127.0.0.1 port " + port.number() +
                " is not reached: Connection timed out while connect(127.0.0.1 port " + port.number() + ")");
  EXPECT_GE(Clock::now() - start, std::chrono::seconds(10));
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(15));
}

// One name for two addresses, of which the first in order is silent or refuses.
class TransmitterAddresses : public TransmitterNetwork {
 protected:
  TransmitterAddresses() {
    PrivateNetwork::setHosts("127.0.0.2 transmitter\n127.0.0.3 transmitter\n");
    const auto addresses = usbip::addressesOf("transmitter", "40001", termination);
    first.emplace(addressText(addresses.at(0)), "40001");
    second.emplace(addressText(addresses.at(1)), "40001");
  }

  static std::string addressText(const usbip::Address& address) {
    return address.text.substr(0, address.text.find(' '));
  }

  const Transmitter transmitter{.interface = "", .host = "transmitter", .port = "40001"};
  std::optional<TcpPort> first;
  std::optional<TcpPort> second;
};

TEST_F(TransmitterAddresses, AreTriedInOrder) {
  first->listen();
  second->listen();
  EXPECT_EQ(connect(transmitter).farEnd(),
            usbip::addressesOf("transmitter", "40001", termination).at(0).text);
}

TEST_F(TransmitterAddresses, AreTriedOnAfterARefusal) {
  second->listen();
  EXPECT_EQ(connect(transmitter).farEnd(),
            usbip::addressesOf("transmitter", "40001", termination).at(1).text);
}

TEST_F(TransmitterAddresses, AreTriedOnAfterSilenceWithinTheTenSeconds) {
  first->ignoreEverybody();
  second->listen();
  const auto start = Clock::now();
  EXPECT_EQ(connect(transmitter).farEnd(),
            usbip::addressesOf("transmitter", "40001", termination).at(1).text);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
}

TEST_F(TransmitterAddresses, AreAllNamedWhereNoneAnswers) {
  const std::string text = failure(transmitter);
  EXPECT_NE(text.find("Connection refused while connect(127.0.0.2 port 40001)"), std::string::npos) << text;
  EXPECT_NE(text.find("Connection refused while connect(127.0.0.3 port 40001)"), std::string::npos) << text;
}

class TransmitterPatience : public TransmitterNetwork {
 protected:
  [[nodiscard]] usbip::AwaitedInVain vain(std::chrono::seconds patience) const {
    return support::caught<usbip::AwaitedInVain>(
        [&] { static_cast<void>(connectWithin(patience, transmitter, termination, log)); });
  }

  TcpPort port{"127.0.0.1"};
  const Transmitter transmitter{.interface = "", .host = "127.0.0.1", .port = port.number()};
};

TEST_F(TransmitterPatience, EndsWithAStatusOfItsOwn) {
  const usbip::AwaitedInVain end = vain(std::chrono::seconds(0));
  EXPECT_EQ(end.status, 28);
  EXPECT_EQ(end.message, "waited in vain: 127.0.0.1 port " + port.number() +
                             " is not reached: Connection refused while connect(127.0.0.1 port " +
                             port.number() + ")");
}

TEST_F(TransmitterPatience, LastsAsLongAsItIsAsked) {
  const auto start = Clock::now();
  static_cast<void>(vain(std::chrono::seconds(1)));
  EXPECT_GE(Clock::now() - start, std::chrono::seconds(1));
}

TEST_F(TransmitterPatience, LeavesTimeForOneTryAtLeast) {
  port.ignoreEverybody();
  const auto start = Clock::now();
  static_cast<void>(vain(std::chrono::seconds(0)));
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(250));
}

TEST_F(TransmitterPatience, IsNotNeededWhereSomebodyListens) {
  port.listen();
  EXPECT_EQ(connectWithin(std::chrono::seconds(0), transmitter, termination, log).farEnd(),
            "127.0.0.1 port " + port.number());
}

// What the worker logs, for a test that goes on at one of its lines.
class AwaitedLines {
 public:
  void waitFor(const std::string& text) {
    sim::waitUntil(text, {}, pipe_.readEnd(), [&] {
      return std::ranges::any_of(
          pipe_.writes(), [&](const std::string& line) { return line.find(text) != std::string::npos; });
    });
  }

 private:
  support::PacketPipe pipe_;
  support::ReplacedStandardError replaced_{pipe_.writeEnd()};
};

class TransmitterLater : public TransmitterPatience {
 protected:
  // The far end that a worker with patience reaches, once it does.
  std::future<std::string> farEndFor(const Transmitter& awaited) {
    return std::async(std::launch::async, [this, awaited] {
      return connectWithin(std::chrono::seconds(60), awaited, termination, log).farEnd();
    });
  }

  AwaitedLines lines;
};

TEST_F(TransmitterLater, IsReachedOnceItsNameIsKnown) {
  port.listen();
  auto farEnd = farEndFor({.interface = "", .host = "transmitter", .port = port.number()});
  lines.waitFor("Name or service not known");
  PrivateNetwork::setHosts("127.0.0.1 transmitter\n");
  EXPECT_EQ(farEnd.get(), "127.0.0.1 port " + port.number());
}

TEST_F(TransmitterLater, IsReachedOnceItListens) {
  auto farEnd = farEndFor(transmitter);
  lines.waitFor("Connection refused");
  port.listen();
  EXPECT_EQ(farEnd.get(), "127.0.0.1 port " + port.number());
}

TEST_F(TransmitterLater, IsNotAwaitedWhenTheProgramIsAskedToEnd) {
  auto farEnd = farEndFor(transmitter);
  lines.waitFor("Connection refused");
  ::kill(::getpid(), SIGTERM);
  EXPECT_THROW(farEnd.get(), usbip::EndRequested);
}

TEST_F(TransmitterLater, NeedsNoAnswerWhenTheProgramIsAskedToEnd) {
  port.ignoreEverybody();
  auto farEnd = farEndFor(transmitter);
  lines.waitFor("connecting to");
  ::kill(::getpid(), SIGTERM);
  EXPECT_THROW(farEnd.get(), usbip::EndRequested);
}

}  // namespace
