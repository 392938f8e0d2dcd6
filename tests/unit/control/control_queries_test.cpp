#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "ctrl/settings.h"
#include "sim/descriptor.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "unit/control/control_fixture.h"

namespace {

using namespace std::string_literals;

using Lines = std::vector<std::string>;

constexpr const char* parameters = "host 5000 full eth1 in out";

using ControlQuery = ControlSocket;
using WaitingClient = ControlSocket;

TEST_F(ControlQuery, AnyByteIsAnsweredWithTheLatestParametersAndTheEnd) {
  (void)deliver(parameters);
  for (const std::string& query : {"?"s, "\n"s, " "s, "x"s, "\0"s, "\xff"s}) {
    const support::ControlClient client = ask(query);
    EXPECT_EQ(client.received(), parameters);
    EXPECT_TRUE(client.isDisconnected());
  }
  EXPECT_TRUE(ctrl_->waitingClients.empty());
}

TEST_F(ControlQuery, IsAnsweredWithALineAsItWasReceived) {
  (void)deliver("host 5000 full   \n");
  EXPECT_EQ(ask().received(), "host 5000 full   \n");
}

TEST_F(ControlQuery, IsAnsweredWithNothingWhereOnlyTheCommandLineHasNamedAPort) {
  ctrl_->port = 5000;
  const support::ControlClient client = ask();
  EXPECT_EQ(client.received(), "");
  EXPECT_TRUE(client.isDisconnected());
}

TEST_F(ControlQuery, LeavesTheParametersAsTheyAre) {
  (void)deliver(parameters);
  (void)ask();
  EXPECT_EQ(ctrl_->hostname, "host");
  EXPECT_EQ(ctrl_->port, 5000);
  EXPECT_EQ(ctrl_->lastRequest, parameters);
}

TEST_F(ControlQuery, LeavesNoDescriptorOpen) {
  ctrl_->port = 5000;
  const auto before = support::openDescriptors();
  ask().disconnect();
  EXPECT_EQ(support::openDescriptors(), before);
}

TEST_F(ControlQuery, OfAClientThatHasGoneIsNoError) {
  (void)deliver(parameters);
  support::ControlClient client = connect();
  client.send("?");
  client.disconnect();
  EXPECT_EQ(serveControlClient(*ctrl_), 0);
}

TEST_F(ControlQuery, IsToldOfWithDebuggingWithoutTheKeys) {
  (void)deliver(parameters);
  settings.debugCtrl = true;
  const support::ControlClient client = connect();
  client.send("?");
  const support::CapturedStandardError captured;
  const std::string number = std::to_string(support::nextDescriptor());
  EXPECT_EQ(serveControlClient(*ctrl_), 0);
  EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl] immediate send host 5000 full eth1 *** *** to " + number});
}

TEST_F(ControlQuery, IsNotToldOfWithoutDebuggingNorWhileItWaits) {
  const support::CapturedStandardError captured;
  settings.debugCtrl = true;
  const support::ControlClient waiting = ask();
  settings.debugCtrl = false;
  ctrl_->port = 5000;
  const support::ControlClient answered = ask();
  EXPECT_EQ(captured.writes(), Lines{});
}

TEST_F(WaitingClient, IsKeptUntilParametersAreKnownAndThenDismissed) {
  const support::ControlClient client = ask();
  EXPECT_EQ(ctrl_->waitingClients.size(), 1U);
  EXPECT_FALSE(client.isDisconnected());
  EXPECT_EQ(client.received(), "");
  (void)deliver(parameters);
  EXPECT_EQ(client.received(), parameters);
  EXPECT_TRUE(client.isDisconnected());
}

TEST_F(WaitingClient, IsKeptFromWorkers) {
  const support::ControlClient client = ask();
  EXPECT_TRUE(support::isCloseOnExec(ctrl_->waitingClients.front()));
}

TEST_F(WaitingClient, IsOneOfManyInTheOrderOfTheirArrival) {
  const support::ControlClient first = ask();
  const int firstDescriptor = ctrl_->waitingClients.front();
  const support::ControlClient second = ask();
  const support::ControlClient third = ask();
  EXPECT_EQ(ctrl_->waitingClients.size(), 3U);
  EXPECT_EQ(ctrl_->waitingClients.front(), firstDescriptor);
  (void)deliver(parameters);
  for (const support::ControlClient* client : {&first, &second, &third}) {
    EXPECT_EQ(client->received(), parameters);
    EXPECT_TRUE(client->isDisconnected());
  }
}

TEST_F(WaitingClient, GetsEveryByteOfTheLine) {
  const support::ControlClient client = ask();
  const std::string line = "host 5000 full eth1 in out\n\0behind"s;
  (void)deliver(line);
  EXPECT_EQ(client.received(), line);
}

TEST_F(WaitingClient, ThatHasGoneDoesNotKeepTheOthersFromTheirAnswer) {
  support::ControlClient gone = ask();
  const support::ControlClient client = ask();
  gone.disconnect();
  const support::ControlClient delivering = deliver(parameters);
  EXPECT_GT(served_, 0);
  EXPECT_EQ(client.received(), parameters);
}

TEST_F(WaitingClient, WaitsOnWhileTheLineSaysThatThePortIsNotKnown) {
  const support::ControlClient client = ask();
  (void)deliver("host 0 full eth1 in out");
  EXPECT_EQ(client.received(), "host 0 full eth1 in out");
  const support::ControlClient later = ask();
  EXPECT_FALSE(later.isDisconnected());
}

// The list of waiting clients is not emptied.
TEST_F(WaitingClient, WhoeverHasItsDescriptorNumberLaterGetsLaterLinesAndIsDismissed) {
  const support::ControlClient client = ask();
  const int number = ctrl_->waitingClients.front();
  const support::ControlClient first = deliver(parameters);
  EXPECT_EQ(ctrl_->waitingClients.size(), 1U);

  std::array<int, 2> ends{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  if (ends[0] == number) {
    std::swap(ends[0], ends[1]);
  }
  ASSERT_EQ(ends[1], number);
  const sim::Descriptor other(ends[0]);
  const support::ControlClient second = deliver("host 6000 full eth1 in out");
  std::array<char, 64> received{};
  EXPECT_GT(recv(other.get(), received.data(), received.size(), MSG_DONTWAIT), 0);
  EXPECT_STREQ(received.data(), "host 6000 full eth1 in out");
  EXPECT_FALSE(support::isOpen(number));
}

TEST_F(WaitingClient, WhatIsNoClientUnderItsDescriptorNumberLaterIsLeftAlone) {
  const support::ControlClient client = ask();
  const int number = ctrl_->waitingClients.front();
  const support::ControlClient first = deliver(parameters);

  std::array<int, 2> logger{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, logger.data()), 0);
  ASSERT_TRUE(logger[0] == number || logger[1] == number);
  const sim::Descriptor mine(logger[0]);
  const sim::Descriptor theirs(logger[1]);
  const support::ControlClient second = deliver(parameters);
  EXPECT_TRUE(support::isOpen(number));
  for (const int end : logger) {
    char byte = 0;
    EXPECT_EQ(recv(end, &byte, 1, MSG_DONTWAIT), -1);
  }
}

TEST_F(WaitingClient, WhoDeliversUnderItsDescriptorNumberGetsTheLineBackAndStaysConnected) {
  const support::ControlClient client = ask();
  const int number = ctrl_->waitingClients.front();
  support::ControlClient first = deliver(parameters);
  ASSERT_FALSE(support::isOpen(number));

  // Nothing but this number is free below those in use, so the next client is served under it.
  std::vector<sim::Descriptor> taken;
  while (support::nextDescriptor() <= number) {
    taken.emplace_back(dup(STDERR_FILENO));
  }
  const support::ControlClient second = connect();
  std::erase_if(taken, [number](const sim::Descriptor& fd) { return fd.get() == number; });
  second.send(parameters);
  EXPECT_EQ(serveControlClient(*ctrl_), number);
  EXPECT_TRUE(support::isOpen(number));
  EXPECT_EQ(second.received(), parameters);
  EXPECT_FALSE(second.isDisconnected());
}

}  // namespace
