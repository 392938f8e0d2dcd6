#include <gtest/gtest.h>

#include "sim/error.h"
#include "system/support/control_messages.h"
#include "system/support/eventually.h"

namespace {

const std::string firstLine = "first 1001 high eth1 IN1 OUT1";
const std::string secondLine = "second 1002 high eth2 IN2 OUT2";
const std::string thirdLine = "third 1003 high eth3 IN3 OUT3";

/** A daemon whose port is not known. */
class ControlConnections : public testing::Test {
 protected:
  void SetUp() override {
    unit.startDaemon({"--debug=ctrl", "transmitter", "0", "high"});
    unit.waitUntilServing();
  }

  /** A client that has asked and waits; in the daemon its connection has the lowest free number. */
  sim::LinkManager waitingClient() {
    const std::size_t before = unit.daemon().openDescriptors().size();
    sim::LinkManager client = unit.connect();
    client.send("?");
    eventually("a client kept", [&] { return unit.daemon().openDescriptors().size() > before; });
    return client;
  }

  /** Delivers a line that may make the port 0 again. */
  sim::LinkManager deliverUnanswered(const std::string& line) {
    sim::LinkManager manager = unit.connect();
    manager.send(line);
    unit.settle();
    unit.settle();  // the line has been served before this event
    return manager;
  }

  sim::Unit unit;
};

bool isSilentAndOpen(sim::LinkManager& client) {
  try {
    static_cast<void>(client.receive(sim::Deadline(0)));
    return false;
  } catch (const sim::TimedOut&) {
    return true;
  }
}

}  // namespace

TEST_F(ControlConnections, ThatDeliveredALineStayOpenAndSilent) {
  sim::LinkManager manager = deliver(unit, firstLine);
  unit.settle();
  EXPECT_TRUE(isSilentAndOpen(manager));
  EXPECT_TRUE(unit.daemon().isRunning());
}

TEST_F(ControlConnections, ThatDeliveredAnEarlierLineStayOpenAndSilent) {
  sim::LinkManager first = deliver(unit, firstLine);
  sim::LinkManager second = deliver(unit, secondLine);
  EXPECT_TRUE(isSilentAndOpen(first));
  EXPECT_TRUE(isSilentAndOpen(second));
}

TEST_F(ControlConnections, WithTheNumberOfAClientThatWaitedGetTheirOwnLineAndStayOpen) {
  sim::LinkManager waiting = waitingClient();
  const sim::LinkManager first = deliver(unit, firstLine);
  EXPECT_EQ(waiting.receiveAll(), firstLine);
  sim::LinkManager second = deliver(unit, secondLine);
  EXPECT_EQ(second.receive(), secondLine);
  EXPECT_TRUE(isSilentAndOpen(second));
  EXPECT_TRUE(unit.daemon().isRunning());
}

TEST_F(ControlConnections, WithTheNumberOfAClientThatWaitedGetLaterLinesAndAreClosed) {
  sim::LinkManager waiting = waitingClient();
  const sim::LinkManager first = deliver(unit, firstLine);
  sim::LinkManager second = deliver(unit, secondLine);
  const sim::LinkManager third = deliver(unit, thirdLine);
  EXPECT_EQ(waiting.receiveAll(), firstLine);
  EXPECT_EQ(second.receiveAll(), secondLine + thirdLine);
  EXPECT_EQ(askForParameters(unit), thirdLine);
}

TEST_F(ControlConnections, ThatReplaceOneThatWasClosedByALaterLineEndTheDaemon) {
  const sim::LinkManager waiting = waitingClient();
  const sim::LinkManager first = deliver(unit, firstLine);
  const sim::LinkManager second = deliver(unit, secondLine);
  sim::LinkManager third = deliver(unit, thirdLine);
  third.close();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
}

TEST_F(ControlConnections, OfAClientThatWaitsWhereOneHasWaitedGetEachLineOnce) {
  sim::LinkManager earlier = waitingClient();
  const sim::LinkManager first = deliverUnanswered("first 0 high eth1");
  EXPECT_EQ(earlier.receiveAll(), "first 0 high eth1");
  sim::LinkManager later = waitingClient();
  const sim::LinkManager second = deliver(unit, secondLine);
  EXPECT_EQ(later.receiveAll(), secondLine);
  EXPECT_EQ(askForParameters(unit), secondLine);
}

TEST_F(ControlConnections, OfWaitingClientsAreClosedByTheLineThatAnswersThem) {
  const std::size_t before = unit.daemon().openDescriptors().size();
  const sim::LinkManager one = waitingClient();
  const sim::LinkManager two = waitingClient();
  const sim::LinkManager manager = deliver(unit, firstLine);
  EXPECT_EQ(unit.daemon().openDescriptors().size(), before + 1);
}

TEST_F(ControlConnections, OfAnsweredQueriesAreClosed) {
  const sim::LinkManager manager = deliver(unit, firstLine);
  const std::vector<int> before = unit.daemon().openDescriptors();
  for (int i = 0; i < 20; ++i) {
    askForParameters(unit);
  }
  EXPECT_EQ(unit.daemon().openDescriptors(), before);
}
