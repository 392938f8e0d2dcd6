// Queries of the link parameters, with and without a known port.

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "support/eventually.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/process_state.h"

namespace {

using support::acceptedClient;
using support::askForParameters;
using support::commandLine;
using support::isSilentAndOpen;
using support::scanner;
using support::silentClient;

constexpr const char* line = "otherhost 7000 low wlan0 IN OUT";

using LinkQueries = support::DaemonFixture;

TEST_F(LinkQueries, AreAnsweredWithTheLatestLineAsItCame) {
  start();
  EXPECT_EQ(askForParameters(unit), "");
  deliver(line);
  EXPECT_EQ(askForParameters(unit), line);
  EXPECT_EQ(askForParameters(unit), line);
  deliver("third 1 full eth9   \n");
  EXPECT_EQ(askForParameters(unit), "third 1 full eth9   \n");
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
  sim::LinkManager slow = silentClient(unit);
  unit.connect().send("?");
  slow.send("?");
  EXPECT_EQ(slow.receiveAll(), line);
  EXPECT_EQ(askForParameters(unit), line);
}

TEST_F(LinkQueries, WaitForThePortAndAreThenAllAnsweredAndClosed) {
  start(commandLine({"--debug=ctrl"}, {"transmitter", "0", "high"}));
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

// So often that a line for each time would fill the buffer of the connection that has the number then.
TEST_F(LinkQueries, DoNotHoldUpTheDaemonHoweverOftenTheyWaitUnderTheSameNumber) {
  start(commandLine({"--debug=ctrl"}, {"transmitter", "0", "high"}));
  for (int i = 0; i < 400; ++i) {
    sim::LinkManager waiting = unit.connect();
    waiting.send("?");
    send("host 0 high eth1");
    EXPECT_EQ(waiting.receiveAll(), "host 0 high eth1");
  }

  sim::LinkManager& served = send(line);

  EXPECT_EQ(served.receive(), line) << "it has the number";
  EXPECT_EQ(askForParameters(unit), line);
  EXPECT_TRUE(isSilentAndOpen(served));
}

// A client that connects and says nothing for a while: the daemon waits for it.

using LinkQueriesOfASlowClient = support::DaemonFixture;

TEST_F(LinkQueriesOfASlowClient, HoldUpTheDaemonUntilTheyCome) {
  start();
  sim::LinkManager slow = silentClient(unit);
  unit.plug(scanner());

  slow.send("host 7000 high wlan0");

  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            (support::Lines{"usb_rx_generic", "wlan0", "host", "7000", scanner().directory()}));
}

TEST_F(LinkQueriesOfASlowClient, AreAwaitedThoughSignalsInterruptTheWait) {
  sim::Daemon& daemon = start();
  sim::Worker& worker = attach(scanner());
  sim::LinkManager slow = silentClient(unit);

  detachAndEnd(worker);
  support::waitUntilEnded(worker.start.pid);
  daemon.signal(SIGHUP);
  support::eventually("a daemon that has taken its signals",
                      [&] { return support::pendingSignalsOf(daemon.pid()).empty(); });
  support::waitUntilAsleep(daemon.pid());
  EXPECT_EQ(daemon.children(), std::vector<pid_t>{worker.start.pid});
  slow.send("host 7000 high wlan0 IN OUT");

  EXPECT_EQ(askForParameters(unit), "host 7000 high wlan0 IN OUT");
  waitUntilForgotten(worker);
}

}  // namespace
