#include <sched.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "bench/storms/bare_calls.h"
#include "bench/storms/crowded_unit.h"
#include "bench/storms/storms.h"
#include "sim/deadline.h"
#include "sim/query_crowd.h"

namespace bench {

namespace {

constexpr int few = 10;
constexpr int many = 5'000;
constexpr double tolerated = 1.2;

constexpr int rounds = 30;
constexpr int roundsWithLaunches = 7;
constexpr int events = 2'000;
constexpr int launches = 50;

/** Microseconds of processor time of the daemon for each event, by the kind of event: the least of some rounds, since
 * other work of the machine only adds to it. */
using Costs = std::map<std::string, double>;

const std::string noInterest = "event of no interest";
const std::string known = "add of a device that has a worker";
const std::string query = "query";
const std::string launch = "plug and launch";
const std::string endOfWorker = "end of a worker";

/**
 * Leaves this process, and what it starts, one processor, as on a unit. On another one the looks at thousands of workers
 * would hold the kernel's list of processes, and the daemon would wait for it at each launch.
 */
class OneProcessor {
 public:
  OneProcessor() {
    ::sched_getaffinity(0, sizeof former_, &former_);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(::sched_getcpu()), &one);
    ::sched_setaffinity(0, sizeof one, &one);
  }
  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;
  ~OneProcessor() { ::sched_setaffinity(0, sizeof former_, &former_); }

 private:
  cpu_set_t former_{};
};

class CostMeter {
 public:
  explicit CostMeter(int workers) : workers_(static_cast<std::size_t>(workers)), unit_(workers) {
    unit_.startDaemon();
    line_ = unit_.deliverLink();
  }

  Costs measure() {
    for (int round = 0; round < rounds; ++round) {
      keepLeast(noInterest, events, [this] { announceAll("change"); });
      keepLeast(known, events, [this] { announceAll("add"); });
      keepLeast(query, events, [this] { askAll(); });
    }
    for (int round = 0; round < roundsWithLaunches; ++round) {
      keepLeast(launch, launches, [this] { plugSome(); });
      keepLeast(endOfWorker, launches, [this] { endSome(); });
    }
    return costs_;
  }

 private:
  template <class Action>
  void keepLeast(const std::string& kind, int count, const Action& action) {
    constexpr double microsecondsPerSecond = 1e6;
    const double before = sim::processorSecondsOf(unit_.daemon());
    action();
    const double each = (sim::processorSecondsOf(unit_.daemon()) - before) * microsecondsPerSecond / count;
    const auto [cost, isFirst] = costs_.emplace(kind, each);
    cost->second = std::min(cost->second, each);
  }

  /** All wait before the daemon begins, so that it does not fall asleep between two. */
  void announceAll(const std::string& action) {
    unit_.stopDaemon();
    for (int i = 0; i < events; ++i) {
      // As many different ones beside many workers as beside few: the kernel's own way to them is not compared.
      const auto device = static_cast<std::size_t>(i % few);
      unit_.announce(action, unit_.devices()[device]);
    }
    unit_.resumeDaemon();
    unit_.settle();
  }

  void askAll() { sim::QueryCrowd(1, events, line_).waitUntilAnswered(sim::Deadline(60)); }

  void plugSome() {
    unit_.stopDaemon();
    for (int i = 0; i < launches; ++i) {
      plugged_.push_back(unit_.plug());
    }
    unit_.resumeDaemon();
    unit_.awaitWorkers(workers_ + launches);
    unit_.settle();
  }

  /** One after another. */
  void endSome() {
    const std::vector<pid_t> workers = unit_.workers();
    for (auto worker = workers.end() - launches; worker != workers.end(); ++worker) {
      kill(*worker, SIGUSR1);
      unit_.await("the notice of a worker's end", [&] { return kill(*worker, 0) != 0; });
    }
    for (const std::string& directory : plugged_) {
      unit_.unit().sysfs.removeDevice(directory);
    }
    plugged_.clear();
  }

  std::size_t workers_;
  CrowdedUnit unit_;
  std::string line_;
  std::vector<std::string> plugged_;
  Costs costs_;
};

void report(Figures& figures, const Costs& costs) {
  for (const auto& [kind, cost] : costs) {
    figures.report(kind, cost, "us");
  }
}

Costs measureBeside(int workers) {
  return CostMeter(workers).measure();
}

/** Two calls of the kernel walk the list of all children for each end of a worker; the daemon may add no more to them
 * than beside few. */
void compareEnds(Figures& figures, double beside10, double beside5000) {
  constexpr double looks = 2;
  const double kernelBeside10 = looks * microsecondsToLookAfterChildren(few);
  const double kernelBeside5000 = looks * microsecondsToLookAfterChildren(many);
  figures.report(endOfWorker, beside5000 / beside10, "times");
  figures.report("the kernel's two looks after 10 children", kernelBeside10, "us");
  figures.report("the kernel's two looks after 5,000 children", kernelBeside5000, "us");
  figures.noMoreThan(tolerated, endOfWorker + ", beside what the looks take longer",
                     beside5000 / (beside10 + kernelBeside5000 - kernelBeside10), "times");
}

}  // namespace

void compareCosts(Figures& figures) {
  const OneProcessor alone;
  figures.begin("processor time, 10 workers");
  const Costs beside10 = measureBeside(few);
  report(figures, beside10);
  figures.begin("processor time, 5,000");
  const Costs beside5000 = measureBeside(many);
  report(figures, beside5000);

  figures.begin("5,000 beside 10 workers");
  for (const std::string& kind : {noInterest, known, query, launch}) {
    figures.noMoreThan(tolerated, kind, beside5000.at(kind) / beside10.at(kind), "times");
  }
  compareEnds(figures, beside10.at(endOfWorker), beside5000.at(endOfWorker));
}

}  // namespace bench
