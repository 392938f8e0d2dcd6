// How the daemon ends, and what becomes of its workers.

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/last_words.h"
#include "system/support/process_state.h"

namespace {

const sim::ProcessEnd success = sim::ProcessEnd::exited(0);

class DaemonEnd : public support::DaemonFixture {
 protected:
  DaemonEnd() { start(support::commandLine({"--debug=ctrl", "--class=all"})); }
};

struct Ending : support::NamedCase {
  void (*act)(sim::LinkManager& controlConnection);
};

const std::vector<Ending> endings = {
    {"Closes", [](sim::LinkManager& client) { client.close(); }},
    {"IsClosedHalf", [](sim::LinkManager& client) { client.halfClose(); }},
    {"SendsALine", [](sim::LinkManager& client) { client.configure(); }},
    {"Asks", [](sim::LinkManager& client) { client.send("?"); }},
};

class DaemonEndWhenTheControlConnection : public DaemonEnd, public testing::WithParamInterface<Ending> {};

TEST_P(DaemonEndWhenTheControlConnection, IsThatOfStatusZeroWithoutAWord) {
  sim::LinkManager& client = deliver();
  const support::Lines messages = unit.daemon().messages();

  GetParam().act(client);

  EXPECT_EQ(unit.daemon().waitForExit(), success);
  EXPECT_EQ(unit.daemon().messages(), messages);
}

INSTANTIATE_TEST_SUITE_P(Which, DaemonEndWhenTheControlConnection, testing::ValuesIn(endings),
                         testing::PrintToStringParamName());

TEST_F(DaemonEnd, DoesNotComeWithTheEndOfAQueryNorWhileTheControlConnectionIsSilent) {
  deliver();
  for (int i = 0; i < 3; ++i) {
    support::askForParameters(unit);
  }
  support::settleEverySource(unit);

  EXPECT_TRUE(unit.daemon().isRunning());
}

TEST_F(DaemonEnd, DoesNotComeWithTheEndOfAReplacedConnection) {
  sim::LinkManager& first = deliver();
  sim::LinkManager& second = deliver();

  first.send("anything");
  first.close();
  support::settleEverySource(unit);
  EXPECT_TRUE(unit.daemon().isRunning());

  second.close();
  EXPECT_EQ(unit.daemon().waitForExit(), success);
}

TEST_F(DaemonEnd, ComesBySignalsThatAskForIt) {
  unit.daemon().signal(SIGTERM);

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::killedBy(SIGTERM));
}

/** A unit with a worker of each kind. */
class DaemonEndWithWorkers : public DaemonEnd {
 protected:
  sim::Worker& generic = attach(support::scanner());
  sim::Worker& keyboards = attachKeyboard();
  sim::Worker& storage = attachDisk();

  void expectOnlyTheGenericWorkerEnds() const {
    generic.waitForEnd();
    for (sim::Worker* other : {&keyboards, &storage}) {
      EXPECT_EQ(support::pendingSignalsOf(other->start.pid), std::set<int>{});
      EXPECT_TRUE(other->isRunning());
    }
  }
};

TEST_F(DaemonEndWithWorkers, EndsTheGenericOneWhenTheControlConnectionCloses) {
  deliver().close();

  EXPECT_EQ(unit.daemon().waitForExit(), success);
  expectOnlyTheGenericWorkerEnds();
}

TEST_F(DaemonEndWithWorkers, EndsTheGenericOneWhenItIsAKilledDaemons) {
  unit.daemon().signal(SIGKILL);

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::killedBy(SIGKILL));
  expectOnlyTheGenericWorkerEnds();
}

TEST_F(DaemonEndWithWorkers, EndsTheGenericOneWhenItComesByAnError) {
  send("transmitter bogus high eth1  ");

  EXPECT_EQ(support::lastWordsOf(unit.daemon()), contract::error::badNumber);
  expectOnlyTheGenericWorkerEnds();
}

TEST_F(DaemonEndWithWorkers, EndsTheGenericOneWhenAnotherWorkerCannotBeExecuted) {
  attach(support::scanner("1-7")).exitWith(42);

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  expectOnlyTheGenericWorkerEnds();
}

}  // namespace
