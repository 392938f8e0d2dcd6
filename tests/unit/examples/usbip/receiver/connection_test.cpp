#include "examples/usbip/receiver/connection.h"

#include <gtest/gtest.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill is POSIX's
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <numeric>
#include <vector>

#include "support/thrown.h"
#include "ulx/exceptions.h"
#include "unit/examples/usbip/receiver/far_side.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// More than a socket holds.
Bytes longMessage() {
  Bytes bytes(4'000'000);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
  return bytes;
}

TEST(Connection, SendsEveryByteOfALongMessage) {
  const FarSide farSide;
  const Bytes message = longMessage();
  auto heard = std::async(std::launch::async, [&] { return farSide.hear(message.size()); });
  farSide.connection().send(message);
  EXPECT_EQ(heard.get(), message);
}

TEST(Connection, ReceivesAMessageInPieces) {
  const FarSide farSide;
  Bytes received(3);
  farSide.say(Bytes{1, 2});
  auto rest = std::async(std::launch::async, [&] { farSide.connection().receive(received); });
  farSide.say(Bytes{3, 4});
  rest.get();
  EXPECT_EQ(received, (Bytes{1, 2, 3}));
  EXPECT_EQ(farSide.unread(), 1U);
}

TEST(Connection, EndsWhereTheFarSideHasClosedItAmidAMessage) {
  FarSide farSide;
  farSide.say(Bytes{1, 2});
  farSide.leave();
  Bytes received(3);
  EXPECT_EQ(support::caught<ulx::StrException>([&] { farSide.connection().receive(received); }).message,
            "the far side has closed the connection");
}

TEST(Connection, StillHasWhatWasSaidBeforeItWasClosed) {
  FarSide farSide;
  farSide.say(Bytes{42});
  farSide.leave();
  farSide.connection().send(Bytes(100));
  Bytes received(1);
  farSide.connection().receive(received);
  EXPECT_EQ(received, Bytes{42});
}

TEST(Connection, GivesAFarSideThatSaysNothingTenSeconds) {
  const FarSide farSide;
  Bytes received(1);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(support::caught<ulx::StrException>([&] { farSide.connection().receive(received); }).message,
            "the far side is silent");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(Connection, GivesAFarSideThatHearsNothingTenSeconds) {
  const FarSide farSide;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(support::caught<ulx::StrException>([&] { farSide.connection().send(longMessage()); }).message,
            "the far side is silent");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(Connection, EndsAnyWaitWhenItIsAskedTo) {
  const FarSide farSide;
  ::kill(::getpid(), SIGTERM);
  Bytes received(1);
  EXPECT_THROW(farSide.connection().receive(received), usbip::EndRequested);
}

TEST(Connection, StopsSendingWhenItIsAskedTo) {
  const FarSide farSide;
  ::kill(::getpid(), SIGINT);
  EXPECT_THROW(farSide.connection().send(Bytes(1)), usbip::EndRequested);
}

TEST(Connection, KnowsWhatALogCallsTheOtherEnd) {
  const FarSide farSide;
  EXPECT_EQ(farSide.connection().farEnd(), "192.0.2.1 port 5000");
}

}  // namespace
