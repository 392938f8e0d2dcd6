#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "bench/storms/crowded_unit.h"
#include "bench/storms/footprints.h"
#include "bench/storms/storms.h"
#include "sim/deadline.h"
#include "sim/process_table.h"
#include "sim/query_crowd.h"
#include "sim/signal_storm.h"

namespace bench {

namespace {

/** Those that cannot configure their device cost the daemon no pause; the looks after a device that has gone take
 * 50 ms, after one that is present 150 ms. With this mix they take 8 seconds in all. */
constexpr int unconfigurable = 900;
constexpr int gone = 70;
constexpr int present = 30;

constexpr int clients = 200;

/** The looks, and as long again for the forks of a busy machine. */
constexpr double patienceWithDeaths = 16;

/** Returns when all have ended and the daemon, which is stopped, has noticed none. */
void endAllWorkers(CrowdedUnit& unit) {
  const std::vector<pid_t> workers = unit.workers();
  for (std::size_t i = 0; i < workers.size(); ++i) {
    const bool canConfigure = i >= unconfigurable;
    if (canConfigure && i < unconfigurable + gone) {
      unit.unplug(CrowdedUnit::deviceOf(workers[i]));
    }
    kill(workers[i], canConfigure ? SIGUSR2 : SIGUSR1);
  }
  for (const pid_t worker : workers) {
    unit.await("the end of all workers", [worker] { return !sim::isRunning(worker); });
  }
}

}  // namespace

void stormWithDeaths(Figures& figures) {
  figures.begin("1,000 deaths, 200 clients");
  CrowdedUnit unit(unconfigurable + gone + present);
  unit.startDaemon();
  const std::string line = unit.deliverLink();
  sim::Footprint before = unit.footprint();
  unit.stopDaemon();
  endAllWorkers(unit);
  sim::QueryCrowd crowd(clients, 1, line);
  const sim::SignalStorm signals(unit.daemon(), {SIGHUP, SIGCHLD});
  const auto start = std::chrono::steady_clock::now();

  unit.resumeDaemon();
  crowd.waitUntilAnswered(sim::Deadline(60));

  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  figures.exactly(clients, "clients answered", crowd.answered());
  figures.noMoreThan(patienceWithDeaths, "until the last one was answered", taken.count(), "s");
  unit.awaitWorkers(present);
  before.children = present;
  compareFootprints(figures, before, unit.footprint());
  figures.report("signals meanwhile", static_cast<double>(signals.sent()), "");
}

}  // namespace bench
