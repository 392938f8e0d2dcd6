// How the daemon ends, and what becomes of its workers.

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "tests/system/support/attached_devices.h"
#include "tests/system/support/last_words.h"
#include "tests/system/support/process_state.h"

namespace {

const sim::ProcessEnd success = sim::ProcessEnd::exited(0);

sim::Daemon& start(sim::Unit& unit) {
  sim::Daemon& daemon = unit.startDaemon({"--debug=ctrl", "--class=all", "transmitter", "5000", "high"});
  unit.waitUntilServing();
  return daemon;
}

sim::LinkManager configured(sim::Unit& unit) {
  sim::LinkManager client = unit.connect();
  client.configure();
  return client;
}

TEST(DaemonEnd, ComesWithStatusZeroWhenTheControlConnectionCloses) {
  sim::Unit unit;
  sim::Daemon& daemon = start(unit);
  sim::LinkManager client = configured(unit);
  settleEverySource(unit);
  const std::vector<std::string> messages = daemon.messages();

  client.close();

  EXPECT_EQ(daemon.waitForExit(), success);
  EXPECT_EQ(daemon.messages(), messages);
}

TEST(DaemonEnd, ComesWithStatusZeroWhenTheControlConnectionSpeaks) {
  sim::Unit unit;
  sim::Daemon& daemon = start(unit);
  sim::LinkManager client = configured(unit);
  settleEverySource(unit);

  client.configure();

  EXPECT_EQ(daemon.waitForExit(), success);
}

TEST(DaemonEnd, ComesWithStatusZeroWhenTheControlConnectionAsks) {
  sim::Unit unit;
  sim::Daemon& daemon = start(unit);
  sim::LinkManager client = configured(unit);
  settleEverySource(unit);

  client.send("?");

  EXPECT_EQ(daemon.waitForExit(), success);
}

TEST(DaemonEnd, ComesWithStatusZeroWhenTheControlConnectionIsClosedHalf) {
  sim::Unit unit;
  sim::Daemon& daemon = start(unit);
  sim::LinkManager client = configured(unit);
  settleEverySource(unit);

  client.halfClose();

  EXPECT_EQ(daemon.waitForExit(), success);
}

TEST(DaemonEnd, ComesAfterALineWhoseSenderHasGoneAlready) {
  sim::Unit unit;
  sim::Daemon& daemon = start(unit);

  configured(unit).close();

  EXPECT_EQ(daemon.waitForExit(), success);
}

TEST(DaemonEnd, IsSilentWithoutDebugging) {
  sim::Unit unit;
  unit.writeConfig("");
  sim::Daemon& daemon = unit.startDaemon({"transmitter", "5000", "high"});

  configured(unit).close();

  EXPECT_EQ(daemon.waitForExit(), success);
  EXPECT_EQ(daemon.standardError() + daemon.standardOutput(), "");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST(DaemonEnd, DoesNotComeWithTheEndOfAQuery) {
  sim::Unit unit;
  sim::Daemon& daemon = start(unit);
  for (int i = 0; i < 3; ++i) {
    sim::LinkManager client = unit.connect();
    client.send("?");
    EXPECT_EQ(client.receiveAll(), "");
  }
  settleEverySource(unit);

  EXPECT_TRUE(daemon.isRunning());
}

TEST(DaemonEnd, DoesNotComeWhileTheControlConnectionIsSilent) {
  sim::Unit unit;
  sim::Daemon& daemon = start(unit);
  const sim::LinkManager client = configured(unit);
  for (int i = 0; i < 3; ++i) {
    settleEverySource(unit);
  }

  EXPECT_TRUE(daemon.isRunning());
}

TEST(ReplacedConnection, StaysOpen) {
  sim::Unit unit;
  sim::Daemon& daemon = start(unit);
  const std::size_t before = daemon.openDescriptors().size();

  const sim::LinkManager first = configured(unit);
  settleEverySource(unit);
  const sim::LinkManager second = configured(unit);
  settleEverySource(unit);
  const sim::LinkManager third = configured(unit);
  settleEverySource(unit);

  EXPECT_EQ(daemon.openDescriptors().size(), before + 3);
}

TEST(ReplacedConnection, HasNoSayInTheDaemonsEnd) {
  sim::Unit unit;
  sim::Daemon& daemon = start(unit);
  sim::LinkManager first = configured(unit);
  settleEverySource(unit);
  sim::LinkManager second = configured(unit);
  settleEverySource(unit);

  first.send("anything");
  first.close();
  settleEverySource(unit);
  EXPECT_TRUE(daemon.isRunning());

  second.close();
  EXPECT_EQ(daemon.waitForExit(), success);
}

/** A unit with a worker of each kind. */
class Orphans : public testing::Test {
 protected:
  Orphans() {
    start(unit);
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

  sim::Unit unit;
  sim::Worker* generic = nullptr;
  sim::Worker* keyboards = nullptr;
  sim::Worker* storage = nullptr;
};

TEST_F(Orphans, LiveOnUnlessTheyAreGenericWhenTheControlConnectionCloses) {
  configured(unit).close();

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
