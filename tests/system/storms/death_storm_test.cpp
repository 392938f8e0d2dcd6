// A hundred workers end at once, while clients wait to be served and signals interrupt the daemon.

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "sim/footprint.h"
#include "sim/query_crowd.h"
#include "sim/signal_storm.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/stopped_daemon.h"

namespace {

constexpr int cannotConfigure = 5;
constexpr int failed = 1;

/** These cost the daemon no pause; a device that has gone costs 50 ms, one that is present 150 ms. */
constexpr int unconfigurable = 90;
constexpr int gone = 6;
constexpr int present = 4;

class DeathStorm : public support::DaemonFixture {
 protected:
  DeathStorm() {
    start();
    for (int i = 0; i < unconfigurable + gone + present; ++i) {
      workers_.push_back(&attach(support::scanner("1-" + std::to_string(i + 1))));
    }
    unit.settle();
  }

  /** Returns when all have ended and the daemon, which is stopped, has noticed none. */
  void endAllWorkers() {
    for (std::size_t i = 0; i < workers_.size(); ++i) {
      sim::Worker& worker = *workers_[i];
      if (i < unconfigurable) {
        worker.exitWith(cannotConfigure);
        continue;
      }
      if (i < unconfigurable + gone) {
        unit.unplug(worker.device());
      }
      worker.exitWith(failed);
    }
    for (sim::Worker* worker : workers_) {
      worker->waitForEnd();
    }
  }

  sim::Footprint footprint() { return sim::footprintOf(unit.daemon().pid()); }

 private:
  std::vector<sim::Worker*> workers_;
};

TEST_F(DeathStorm, LeavesNothingBehindAndEachClientGetsItsAnswer) {
  const std::string line = support::linkLine("high");
  const sim::LinkManager link = support::deliver(unit, line);
  const std::size_t descriptors = footprint().descriptors;
  support::StoppedDaemon stopped(unit);
  endAllWorkers();
  sim::QueryCrowd crowd(20, 1, line);
  const sim::SignalStorm signals(unit.daemon().pid(), {SIGHUP, SIGCHLD});

  stopped.resume();

  for (int i = 0; i < present; ++i) {
    EXPECT_TRUE(unit.workers.waitForWorker().isRunning());
  }
  crowd.waitUntilAnswered(sim::Deadline());
  unit.settle();
  EXPECT_EQ(footprint().children, static_cast<std::size_t>(present));
  EXPECT_EQ(footprint().descriptors, descriptors);
  EXPECT_GT(signals.sent(), 0);
}

}  // namespace
