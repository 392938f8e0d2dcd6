// Thousands of queries of the link parameters, while signals interrupt the daemon.

#include <gtest/gtest.h>

#include <csignal>
#include <optional>

#include "sim/footprint.h"
#include "sim/query_crowd.h"
#include "sim/signal_storm.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"

namespace {

class QueryStorm : public support::DaemonFixture {
 protected:
  QueryStorm() {
    start(support::commandLine({}));
    link_.emplace(support::deliver(unit, line));
    before_ = footprint();
  }

  sim::Footprint footprint() { return sim::footprintOf(unit.daemon().pid()); }

  void expectNothingLeftBehind() {
    EXPECT_TRUE(unit.daemon().isRunning());
    EXPECT_EQ(footprint().descriptors, before_.descriptors);
    EXPECT_EQ(footprint().children, 0U);
    EXPECT_EQ(unit.daemon().standardError(), "");
  }

  const std::string line = support::linkLine("high");

 private:
  std::optional<sim::LinkManager> link_;
  sim::Footprint before_;
};

TEST_F(QueryStorm, GetsAnAnswerToEachOfManyQueriesInARow) {
  const sim::SignalStorm signals(unit.daemon().pid(), {SIGHUP, SIGCHLD});
  for (int i = 0; i < 2000; ++i) {
    ASSERT_EQ(support::askForParameters(unit), line);
  }
  EXPECT_GT(signals.sent(), 0);
  expectNothingLeftBehind();
}

TEST_F(QueryStorm, GetsAnAnswerToEachOfFiftyClientsThatAskAtOnce) {
  const sim::SignalStorm signals(unit.daemon().pid(), {SIGHUP, SIGCHLD});
  sim::QueryCrowd(50, 40, line).waitUntilAnswered(sim::Deadline());
  EXPECT_GT(signals.sent(), 0);
  expectNothingLeftBehind();
}

}  // namespace
