// Clients that ask for the link parameters, at once or in advance.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <list>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "sim/descriptor.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "unit/control/control_fixture.h"

namespace {

using namespace std::string_literals;

constexpr const char* parameters = "host 5000 full eth1 in out";

using ControlRequestsQueries = ControlRequests;
using ControlRequestsQueriesWaiting = ControlRequests;

TEST_F(ControlRequestsQueries, AnyByteIsAnsweredWithTheLatestParametersAndTheEnd) {
  (void)deliver(parameters);
  for (const std::string& query : {"?"s, "\n"s, " "s, "x"s, "\0"s, "\xff"s}) {
    const support::ControlClient client = ask(query);
    EXPECT_EQ(client.received(), parameters);
    EXPECT_TRUE(client.isDisconnected());
  }
  EXPECT_TRUE(ctrl_->waitingClients.empty());
}

TEST_F(ControlRequestsQueries, LeaveTheParametersAsTheyAreAndNoDescriptorOpen) {
  (void)deliver(parameters);
  const auto before = support::openDescriptors();
  ask().disconnect();
  EXPECT_EQ(support::openDescriptors(), before);
  EXPECT_EQ(ctrl_->hostname, "host");
  EXPECT_EQ(ctrl_->port, 5000);
  EXPECT_EQ(ctrl_->lastRequest, parameters);
}

TEST_F(ControlRequestsQueries, AreLoggedWithTheirDescriptorWhenTheyAreAnswered) {
  EXPECT_EQ(support::debugLogDuring([this] { (void)ask(); }), support::Lines{}) << "it waits";
  (void)deliver(parameters);
  int descriptor = -1;
  const support::Lines log = support::debugLogDuring([&] {
    const support::ControlClient client = connectSaying("?");
    descriptor = support::nextDescriptor();
    EXPECT_EQ(serveControlClient(*ctrl_), 0);
  });
  EXPECT_EQ(log,
            support::tagged({contract::debug::immediateSend("host 5000 full eth1 *** ***", descriptor)}));
}

TEST_F(ControlRequestsQueriesWaiting, AreKeptInTheOrderOfTheirArrivalUntilParametersComeAndThenDismissed) {
  const support::ControlClient first = ask();
  const int firstDescriptor = ctrl_->waitingClients.front();
  EXPECT_TRUE(support::isCloseOnExec(firstDescriptor));
  const support::ControlClient second = ask();
  const support::ControlClient third = ask();
  EXPECT_EQ(ctrl_->waitingClients.size(), 3U);
  EXPECT_EQ(ctrl_->waitingClients.front(), firstDescriptor);
  for (const support::ControlClient* client : {&first, &second, &third}) {
    EXPECT_FALSE(client->isDisconnected());
    EXPECT_EQ(client->received(), "");
  }
  (void)deliver(parameters);
  for (const support::ControlClient* client : {&first, &second, &third}) {
    EXPECT_EQ(client->received(), parameters);
    EXPECT_TRUE(client->isDisconnected());
  }
}

TEST_F(ControlRequestsQueriesWaiting, AreAnsweredWithEveryByteOfTheLine) {
  const support::ControlClient client = ask();
  const std::string line = "host 5000 full eth1 in out\n\0behind"s;
  (void)deliver(line);
  EXPECT_EQ(client.received(), line);
}

/** A client has waited and was answered. The list of waiting clients is not emptied: it keeps its number. */
class ControlRequestsQueriesAnswered : public ControlRequests {
 protected:
  ControlRequestsQueriesAnswered()
      : waited_(ask()), number_(ctrl_->waitingClients.front()), first_(deliver(parameters)) {
    EXPECT_EQ(ctrl_->waitingClients.size(), 1U);
    EXPECT_FALSE(support::isOpen(number_));
  }

  /** A client that says `message` and is served under the number. */
  support::ControlClient deliverUnderTheNumber(std::string_view message) {
    std::vector<sim::Descriptor> taken;  // so that nothing but the number is free below those in use
    while (support::nextDescriptor() <= number_) {
      taken.emplace_back(dup(STDERR_FILENO));
    }
    support::ControlClient client = connect();
    std::erase_if(taken, [this](const sim::Descriptor& fd) { return fd.get() == number_; });
    client.send(message);
    served_ = serveControlClient(*ctrl_);
    EXPECT_TRUE(support::isOpen(number_));
    return client;
  }

  support::ControlClient waited_;
  int number_;
  support::ControlClient first_;
};

// Two connected sockets, the first under the number `wanted`.
std::array<sim::Descriptor, 2> socketsFrom(int wanted, int type) {
  std::array<int, 2> ends{};
  EXPECT_EQ(socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends.data()), 0);
  EXPECT_TRUE(ends[0] == wanted || ends[1] == wanted);
  const bool inOrder = ends[0] == wanted;
  return {sim::Descriptor(ends[inOrder ? 0 : 1]), sim::Descriptor(ends[inOrder ? 1 : 0])};
}

TEST_F(ControlRequestsQueriesAnswered, AClientThatHasTheDescriptorNumberLaterGetsLaterLinesAndIsDismissed) {
  ctrl_->port = 0;
  const support::ControlClient later = deliverUnderTheNumber("?");
  (void)deliver("host 6000 full eth1 in out");
  EXPECT_EQ(later.received(), "host 6000 full eth1 in out");
  EXPECT_TRUE(later.isDisconnected());
  EXPECT_FALSE(support::isOpen(number_));
}

TEST_F(ControlRequestsQueriesAnswered, WhatIsNoClientUnderTheDescriptorNumberLaterIsLeftAlone) {
  for (const int type : {SOCK_DGRAM, SOCK_STREAM}) {
    const std::array<sim::Descriptor, 2> logger = socketsFrom(number_, type);
    (void)deliver(parameters);
    EXPECT_TRUE(support::isOpen(number_));
    for (const sim::Descriptor& end : logger) {
      char byte = 0;
      EXPECT_EQ(recv(end.get(), &byte, 1, MSG_DONTWAIT), -1);
    }
  }
}

TEST_F(ControlRequestsQueriesAnswered, TheDescriptorNumberKeepsItsOnePlaceInTheListHoweverOftenItWaits) {
  ctrl_->port = 0;
  const support::ControlClient again = deliverUnderTheNumber("?");
  const support::ControlClient other = ask();
  const std::list<int> numbers = ctrl_->waitingClients;
  EXPECT_EQ(numbers.size(), 2U);
  EXPECT_EQ(numbers.front(), number_);
  (void)deliver(parameters);
  ctrl_->port = 0;
  const support::ControlClient third = deliverUnderTheNumber("?");
  EXPECT_EQ(ctrl_->waitingClients, numbers);
}

TEST_F(ControlRequestsQueriesWaiting, DoNotHoldUpALineWhenTheyReadNothing) {
  support::inChild([this] {
    const support::ControlClient client = ask();
    const std::array<char, 1024> bytes{};
    while (send(ctrl_->waitingClients.front(), bytes.data(), bytes.size(), MSG_DONTWAIT) > 0) {
    }
    alarm(10);  // ends a test that waits
    (void)deliver(parameters);
    EXPECT_EQ(client.received().find("host"), std::string::npos);
    EXPECT_TRUE(client.isDisconnected());
  });
}

TEST_F(ControlRequestsQueriesAnswered, WhoDeliversUnderTheDescriptorNumberGetsTheLineBackAndStaysConnected) {
  const support::ControlClient second = deliverUnderTheNumber(parameters);
  EXPECT_EQ(served_, number_);
  EXPECT_EQ(second.received(), parameters);
  EXPECT_FALSE(second.isDisconnected());
}

}  // namespace
