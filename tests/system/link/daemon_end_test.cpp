// How the daemon ends, and what becomes of its workers.

#include <gtest/gtest.h>

#include <csignal>
#include <list>
#include <set>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"
#include "system/support/last_words.h"
#include "system/support/process_state.h"

namespace {

const sim::ProcessEnd success = sim::ProcessEnd::exited(0);

/** A unit whose daemon serves, and link managers whose connections stay until they are closed. */
class ServingDaemon : public testing::Test {
 protected:
  ServingDaemon() : daemon(unit.startDaemon({"--debug=ctrl", "--class=all", "transmitter", "5000", "high"})) {
    unit.waitUntilServing();
  }

  /** A client whose link parameters the daemon has taken. */
  sim::LinkManager& configured() {
    clients.push_back(unit.connect());
    clients.back().configure();
    settleEverySource(unit);
    return clients.back();
  }

  sim::Unit unit;
  sim::Daemon& daemon;
  std::list<sim::LinkManager> clients;
};

class DaemonEnd : public ServingDaemon {};
class ReplacedConnection : public ServingDaemon {};

TEST_F(DaemonEnd, ComesWithStatusZeroWhenTheControlConnectionCloses) {
  sim::LinkManager& client = configured();
  const std::vector<std::string> messages = daemon.messages();

  client.close();

  EXPECT_EQ(daemon.waitForExit(), success);
  EXPECT_EQ(daemon.messages(), messages);
}

TEST_F(DaemonEnd, ComesWithStatusZeroWhenTheControlConnectionSpeaks) {
  sim::LinkManager& client = configured();

  client.configure();

  EXPECT_EQ(daemon.waitForExit(), success);
}

TEST_F(DaemonEnd, ComesWithStatusZeroWhenTheControlConnectionAsks) {
  sim::LinkManager& client = configured();

  client.send("?");

  EXPECT_EQ(daemon.waitForExit(), success);
}

TEST_F(DaemonEnd, ComesWithStatusZeroWhenTheControlConnectionIsClosedHalf) {
  sim::LinkManager& client = configured();

  client.halfClose();

  EXPECT_EQ(daemon.waitForExit(), success);
}

TEST_F(DaemonEnd, ComesAfterALineWhoseSenderHasGoneAlready) {
  sim::LinkManager client = unit.connect();
  client.configure();
  client.close();

  EXPECT_EQ(daemon.waitForExit(), success);
}

TEST(QuietDaemon, EndsWithoutAWord) {
  sim::Unit unit;
  unit.writeConfig("");
  sim::Daemon& daemon = unit.startDaemon({"transmitter", "5000", "high"});
  sim::LinkManager client = unit.connect();

  client.configure();
  client.close();

  EXPECT_EQ(daemon.waitForExit(), success);
  EXPECT_EQ(daemon.standardError() + daemon.standardOutput(), "");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST_F(DaemonEnd, DoesNotComeWithTheEndOfAQuery) {
  for (int i = 0; i < 3; ++i) {
    sim::LinkManager client = unit.connect();
    client.send("?");
    EXPECT_EQ(client.receiveAll(), "");
  }
  settleEverySource(unit);

  EXPECT_TRUE(daemon.isRunning());
}

TEST_F(DaemonEnd, DoesNotComeWhileTheControlConnectionIsSilent) {
  configured();
  for (int i = 0; i < 3; ++i) {
    settleEverySource(unit);
  }

  EXPECT_TRUE(daemon.isRunning());
}

TEST_F(ReplacedConnection, StaysOpen) {
  const std::size_t before = daemon.openDescriptors().size();

  configured();
  configured();
  configured();

  EXPECT_EQ(daemon.openDescriptors().size(), before + 3);
}

TEST_F(ReplacedConnection, HasNoSayInTheDaemonsEnd) {
  sim::LinkManager& first = configured();
  sim::LinkManager& second = configured();

  first.send("anything");
  first.close();
  settleEverySource(unit);
  EXPECT_TRUE(daemon.isRunning());

  second.close();
  EXPECT_EQ(daemon.waitForExit(), success);
}

/** A unit with a worker of each kind. */
class Orphans : public ServingDaemon {
 protected:
  Orphans() {
    generic = &unit.workers.waitForWorkerOf(unit.plug(scanner()));
    unit.plug(sim::HiddevNode{.usbDevice = unit.plug(keyboard())});
    keyboards = &unit.workers.waitForWorker();
    storage = &unit.workers.waitForWorkerOf(unit.plug(sim::ScsiGenericNode{.usbDevice = unit.plug(disk())}));
  }

  void expectOnlyTheGenericWorkerEnds() const {
    generic->waitForEnd();
    for (sim::Worker* other : {keyboards, storage}) {
      EXPECT_EQ(pendingSignalsOf(other->start.pid), std::set<int>{});
      EXPECT_TRUE(other->isRunning());
    }
  }

  sim::Worker* generic = nullptr;
  sim::Worker* keyboards = nullptr;
  sim::Worker* storage = nullptr;
};

TEST_F(Orphans, LiveOnUnlessTheyAreGenericWhenTheControlConnectionCloses) {
  configured().close();

  EXPECT_EQ(unit.daemon().waitForExit(), success);
  expectOnlyTheGenericWorkerEnds();
}

TEST_F(Orphans, LiveOnUnlessTheyAreGenericWhenTheDaemonIsKilled) {
  unit.daemon().signal(SIGKILL);

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::killedBy(SIGKILL));
  expectOnlyTheGenericWorkerEnds();
}

TEST_F(Orphans, LiveOnUnlessTheyAreGenericWhenAnErrorEndsTheDaemon) {
  sim::LinkManager client = unit.connect();
  client.send("transmitter bogus high eth1  ");

  EXPECT_EQ(lastWordsOf(unit.daemon()),
            "bad lexical cast: source type value could not be interpreted as target");
  expectOnlyTheGenericWorkerEnds();
}

TEST_F(Orphans, LiveOnUnlessTheyAreGenericWhenAWorkerCannotBeExecuted) {
  sim::Worker& last = unit.workers.waitForWorkerOf(unit.plug(scanner("1-7")));
  last.exitWith(42);

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  expectOnlyTheGenericWorkerEnds();
}

TEST_F(Orphans, GetTheTerminationSignalIfTheyAreGeneric) {
  EXPECT_EQ(generic->start.parentDeathSignal, SIGTERM);
  EXPECT_EQ(keyboards->start.parentDeathSignal, 0);
  EXPECT_EQ(storage->start.parentDeathSignal, 0);
}

}  // namespace
