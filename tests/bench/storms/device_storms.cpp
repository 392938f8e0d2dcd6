#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "bench/storms/crowded_unit.h"
#include "bench/storms/footprints.h"
#include "bench/storms/storms.h"
#include "sim/signal_storm.h"

namespace bench {

namespace {

constexpr int devices = 5'000;
constexpr int few = 10;
constexpr int comingAndGoing = 100;
constexpr int rounds = 5;

/** The daemon's tables have two entries for each worker, each with its path. */
constexpr double kilobytesOfEachWorker = 0.5;

/** A millisecond for each of them: how long the machine takes besides for 5,000 forks and execs is not the daemon's. */
constexpr double processorSecondsForColdplug = 5;

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/** Plugs devices in beside the others, and takes them out again with their workers. */
void plugAndUnplug(CrowdedUnit& unit) {
  std::vector<std::string> plugged;
  for (int i = 0; i < comingAndGoing; ++i) {
    plugged.push_back(unit.plug());
  }
  unit.awaitWorkers(devices + comingAndGoing);
  const std::vector<pid_t> workers = unit.workers();
  for (const std::string& directory : plugged) {
    unit.unplug(directory);
  }
  for (auto worker = workers.end() - comingAndGoing; worker != workers.end(); ++worker) {
    kill(*worker, SIGUSR1);
  }
  unit.awaitWorkers(devices);
  unit.settle();
}

/** The daemon's resident memory with so many workers. */
long residentWith(int count) {
  CrowdedUnit unit(count);
  unit.startDaemon();
  return unit.footprint().residentKilobytes;
}

}  // namespace

void stormWithDevices(Figures& figures) {
  figures.begin("5,000 devices");
  const long residentWithFew = residentWith(few);
  CrowdedUnit unit(devices);
  const Clock::time_point start = Clock::now();
  unit.startDaemon();
  figures.report("coldplug, until all workers rest", secondsSince(start), "s");
  figures.noMoreThan(processorSecondsForColdplug, "processor time of coldplug",
                     sim::processorSecondsOf(unit.daemon()), "s");
  const sim::SignalStorm signals(unit.daemon(), {SIGHUP, SIGCHLD});
  figures.exactly(devices, "workers", static_cast<double>(unit.workers().size()));
  figures.noMoreThan(
      kilobytesOfEachWorker, "resident memory of each further worker",
      static_cast<double>(unit.footprint().residentKilobytes - residentWithFew) / (devices - few), "kB");

  plugAndUnplug(unit);
  const sim::Footprint before = unit.footprint();
  for (int round = 0; round < rounds; ++round) {
    plugAndUnplug(unit);
  }
  figures.report("devices that came and went", rounds * comingAndGoing, "");
  compareFootprints(figures, before, unit.footprint());
  figures.report("signals meanwhile", static_cast<double>(signals.sent()), "");
}

}  // namespace bench
