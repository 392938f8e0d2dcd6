// Signals of a worker at its start, and of the daemon that has started it, whatever state the daemon was started in.

#include <gtest/gtest.h>

#include <csignal>
#include <numeric>
#include <set>
#include <tuple>
#include <vector>

#include "support/eventually.h"
#include "support/named_case.h"
#include "system/support/process_state.h"
#include "system/support/worker_launch.h"

namespace {

std::vector<int> allSignals() {
  std::vector<int> signals(NSIG - 1);
  std::iota(signals.begin(), signals.end(), 1);
  return signals;
}

struct Start : support::NamedCase {
  std::vector<int> ignored;
  std::vector<int> blocked;
};

const std::vector<Start> someChanged = {
    {{"NoSignalChanged"}, {}, {}},
    {{"HangupsIgnored"}, {SIGHUP}, {}},
    {{"KeysOfTheTerminalIgnored"}, {SIGINT, SIGQUIT}, {}},
    {{"SomeIgnored"}, {SIGUSR1, SIGTERM, SIGRTMIN + 1}, {}},
    {{"EndsOfChildrenIgnored"}, {SIGCHLD}, {}},
    {{"EverySignalIgnored"}, allSignals(), {}},
    {{"OneBlocked"}, {}, {SIGUSR2}},
};

const std::vector<Start> allBlocked = {
    {{"EverySignalBlocked"}, {}, allSignals()},
    {{"EverySignalIgnoredAndBlocked"}, allSignals(), allSignals()},
};

class WorkerSignals : public support::WorkerLaunch {
 protected:
  void startDaemonWith(const Start& start) {
    sim::ProcessOptions world;
    world.ignoredSignals = start.ignored;
    world.blockedSignals = start.blocked;
    startWith({}, world);
  }

  void expectThatLaunchesLeaveTheDaemonsSignalsAsTheyAre() {
    const auto before = signalsOfDaemon();
    startsOfAllWorkers();
    support::eventually("the daemon's signals as they were", [&] { return signalsOfDaemon() == before; });
  }

 private:
  /** Blocked, ignored and caught. */
  std::tuple<std::set<int>, std::set<int>, std::set<int>> signalsOfDaemon() {
    const support::ProcessState state = support::stateOf(unit.daemon().pid());
    return {state.blockedSignals, state.ignoredSignals, state.caughtSignals};
  }
};

class WorkerSignalsOfADaemon : public WorkerSignals, public testing::WithParamInterface<Start> {
 protected:
  WorkerSignalsOfADaemon() { startDaemonWith(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(StartedWith, WorkerSignalsOfADaemon, testing::ValuesIn(someChanged),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(StartedWithAll, WorkerSignalsOfADaemon, testing::ValuesIn(allBlocked),
                         testing::PrintToStringParamName());

TEST_P(WorkerSignalsOfADaemon, AreTheDefaultsAndNoneIsBlocked) {
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    SCOPED_TRACE(worker.arguments.front());
    EXPECT_EQ(worker.ignoredSignals, std::set<int>());
    EXPECT_EQ(worker.caughtSignals, std::set<int>());
    EXPECT_EQ(worker.blockedSignals, std::set<int>());
  }
}

TEST_P(WorkerSignalsOfADaemon, IncludeThatOfItsDeathForAGenericOne) {
  sim::Worker& worker = genericWorker();
  unit.daemon().signal(SIGKILL);
  worker.waitForEnd();
}

class WorkerSignalsAndTheDaemons : public WorkerSignals, public testing::WithParamInterface<Start> {};

INSTANTIATE_TEST_SUITE_P(StartedWith, WorkerSignalsAndTheDaemons, testing::ValuesIn(someChanged),
                         testing::PrintToStringParamName());

TEST_P(WorkerSignalsAndTheDaemons, AreApart) {
  startDaemonWith(GetParam());
  expectThatLaunchesLeaveTheDaemonsSignalsAsTheyAre();
}

TEST_F(WorkerSignals, AreApartFromTheDaemonsThatAreAllBlocked) {
  startDaemonWith(allBlocked.front());
  expectThatLaunchesLeaveTheDaemonsSignalsAsTheyAre();
}

TEST_F(WorkerSignals, AreApartFromTheDaemonsThatAreAllIgnoredAndBlocked) {
  startDaemonWith(allBlocked.back());
  expectThatLaunchesLeaveTheDaemonsSignalsAsTheyAre();
}

}  // namespace
