#include <chrono>
#include <csignal>
#include <string>

#include "bench/storms/crowded_unit.h"
#include "bench/storms/footprints.h"
#include "bench/storms/storms.h"
#include "sim/deadline.h"
#include "sim/query_crowd.h"
#include "sim/signal_storm.h"

namespace bench {

namespace {

constexpr int queries = 20'000;
constexpr int warmingQueries = 100;

/** A hundredth of what a busy machine was seen to do. */
constexpr double leastQueriesEachSecond = 200;

void stormWith(int clients, Figures& figures) {
  CrowdedUnit unit(0);
  unit.startDaemon();
  const std::string line = unit.deliverLink();
  sim::QueryCrowd(1, warmingQueries, line).waitUntilAnswered(sim::Deadline(60));
  const sim::Footprint before = unit.footprint();
  const sim::SignalStorm signals(unit.daemon(), {SIGHUP, SIGCHLD});
  const auto start = std::chrono::steady_clock::now();

  sim::QueryCrowd crowd(clients, queries / clients, line);
  crowd.waitUntilAnswered(sim::Deadline(queries / leastQueriesEachSecond));

  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  figures.exactly(queries, "queries answered", crowd.answered());
  figures.noLessThan(leastQueriesEachSecond, "queries each second", queries / taken.count(), "");
  compareFootprints(figures, before, unit.footprint());
  figures.report("signals meanwhile", static_cast<double>(signals.sent()), "");
}

}  // namespace

void stormWithQueries(Figures& figures) {
  figures.begin("queries one by one");
  stormWith(1, figures);
  figures.begin("queries by 50 at a time");
  stormWith(50, figures);
}

}  // namespace bench
