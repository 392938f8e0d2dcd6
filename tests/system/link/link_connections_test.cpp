// What becomes of the connections of control clients, and of the numbers that they had in the daemon.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"

namespace {

using support::acceptedClient;
using support::askForParameters;
using support::commandLine;
using support::isSilentAndOpen;

const std::string firstLine = "first 1001 high eth1 IN1 OUT1";
const std::string secondLine = "second 1002 high eth2 IN2 OUT2";
const std::string thirdLine = "third 1003 high eth3 IN3 OUT3";

/** A daemon whose port is not known. */
class LinkConnections : public support::DaemonFixture {
 protected:
  LinkConnections() { start(commandLine({"--debug=ctrl"}, {"transmitter", "0", "high"})); }
};

TEST_F(LinkConnections, ThatDeliveredALineStayOpenAndSilent) {
  const std::size_t before = unit.daemon().openDescriptors().size();

  sim::LinkManager& first = deliver(firstLine);
  sim::LinkManager& second = deliver(secondLine);

  EXPECT_TRUE(isSilentAndOpen(first));
  EXPECT_TRUE(isSilentAndOpen(second));
  EXPECT_EQ(unit.daemon().openDescriptors().size(), before + 2);
  EXPECT_TRUE(unit.daemon().isRunning());
}

/** A client that waited has been answered with the first line: the next connection gets its number. */
class LinkConnectionsWithTheNumberOfAWaitingClient : public LinkConnections {
 protected:
  LinkConnectionsWithTheNumberOfAWaitingClient() {
    sim::LinkManager waiting = acceptedClient(unit, "?");
    deliver(firstLine);
    EXPECT_EQ(waiting.receiveAll(), firstLine);
  }
};

TEST_F(LinkConnectionsWithTheNumberOfAWaitingClient, GetTheirOwnLineAndStayOpen) {
  sim::LinkManager& second = deliver(secondLine);

  EXPECT_EQ(second.receive(), secondLine);
  EXPECT_TRUE(isSilentAndOpen(second));
  EXPECT_TRUE(unit.daemon().isRunning());
}

TEST_F(LinkConnectionsWithTheNumberOfAWaitingClient, GetLaterLinesAndAreClosed) {
  sim::LinkManager& second = deliver(secondLine);
  deliver(thirdLine);

  EXPECT_EQ(second.receiveAll(), secondLine + thirdLine);
  EXPECT_EQ(askForParameters(unit), thirdLine);
}

TEST_F(LinkConnectionsWithTheNumberOfAWaitingClient, LeaveTheEndOfTheDaemonToTheConnectionThatReplacesThem) {
  deliver(secondLine);
  deliver(thirdLine).close();

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
}

TEST_F(LinkConnections, OfAClientThatWaitsWhereOneHasWaitedGetEachLineOnce) {
  sim::LinkManager earlier = acceptedClient(unit, "?");
  deliver("first 0 high eth1");
  EXPECT_EQ(earlier.receiveAll(), "first 0 high eth1");
  sim::LinkManager later = acceptedClient(unit, "?");

  deliver(secondLine);

  EXPECT_EQ(later.receiveAll(), secondLine);
  EXPECT_EQ(askForParameters(unit), secondLine);
}

}  // namespace
