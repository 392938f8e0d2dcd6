// Queries of the link parameters, with and without a known port.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/held_daemon.h"

namespace {

using support::acceptedClient;
using support::askForParameters;
using support::commandLine;
using support::isSilentAndOpen;

constexpr const char* line = "otherhost 7000 low wlan0 IN OUT";

class LinkQueries : public support::DaemonFixture {
 protected:
  void startWithoutPort() { start(commandLine({"--debug=ctrl"}, {"transmitter", "0", "high"})); }
};

TEST_F(LinkQueries, AreAnsweredWithTheLatestLineAsItCame) {
  start();
  EXPECT_EQ(askForParameters(unit), "");
  deliver(line);
  EXPECT_EQ(askForParameters(unit), line);
  EXPECT_EQ(askForParameters(unit), line);
  deliver("third 1 full eth9   \n");
  EXPECT_EQ(askForParameters(unit), "third 1 full eth9   \n");
}

TEST_F(LinkQueries, AreAnsweredOnceALineHasThePort) {
  startWithoutPort();
  deliver(line);
  EXPECT_EQ(askForParameters(unit), line);
}

TEST_F(LinkQueries, AreAnsweredThoughTheClientSendsNoMore) {
  start();
  deliver(line);
  sim::LinkManager client = unit.connect();
  client.send("?");
  client.halfClose();
  EXPECT_EQ(client.receiveAll(), line);
}

TEST_F(LinkQueries, OfAClientThatHasGoneBeforeItsAnswerDoNoHarm) {
  start();
  deliver(line);
  support::HeldDaemon held(unit);
  unit.connect().send("?");
  held.release();
  EXPECT_EQ(askForParameters(unit), line);
}

TEST_F(LinkQueries, WaitForThePortAndAreThenAllAnsweredAndClosed) {
  startWithoutPort();
  const std::size_t before = unit.daemon().openDescriptors().size();
  std::vector<sim::LinkManager> waiting;
  for (int i = 0; i < 20; ++i) {
    waiting.push_back(acceptedClient(unit, "?"));
  }
  unit.settle();
  for (sim::LinkManager& client : waiting) {
    EXPECT_TRUE(isSilentAndOpen(client));
  }
  waiting.at(10).close();
  waiting.erase(waiting.begin() + 10);

  deliver(line);

  for (sim::LinkManager& client : waiting) {
    EXPECT_EQ(client.receiveAll(), line);
  }
  EXPECT_EQ(unit.daemon().openDescriptors().size(), before + 1);
}

TEST_F(LinkQueries, WaitAgainAfterALineWithPortZero) {
  start();
  deliver("otherhost 0 high eth1");
  sim::LinkManager client = acceptedClient(unit, "?");
  unit.settle();
  EXPECT_TRUE(isSilentAndOpen(client));

  deliver(line);

  EXPECT_EQ(client.receiveAll(), line);
}

TEST_F(LinkQueries, ThatWaitAreNotAnsweredWithABadLine) {
  startWithoutPort();
  sim::LinkManager client = acceptedClient(unit, "?");

  send("host port high eth1");

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(client.receiveAll(), "");
}

}  // namespace
