// Signals of a worker at its start, and of the daemon that has started it, whatever state the daemon was started in.

#include <gtest/gtest.h>

#include <csignal>
#include <numeric>
#include <set>
#include <tuple>
#include <vector>

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

const std::vector<Start> starts = {
    {{"NoSignalChanged"}, {}, {}},
    {{"HangupsIgnored"}, {SIGHUP}, {}},
    {{"KeysOfTheTerminalIgnored"}, {SIGINT, SIGQUIT}, {}},
    {{"SomeIgnored"}, {SIGUSR1, SIGTERM, SIGRTMIN + 1}, {}},
    {{"EndsOfChildrenIgnored"}, {SIGCHLD}, {}},
    {{"EverySignalIgnored"}, allSignals(), {}},
    {{"OneBlocked"}, {}, {SIGUSR2}},
    {{"EverySignalBlocked"}, {}, allSignals()},
    {{"EverySignalIgnoredAndBlocked"}, allSignals(), allSignals()},
};

class WorkerSignals : public support::WorkerLaunch, public testing::WithParamInterface<Start> {
 protected:
  WorkerSignals() {
    sim::ProcessOptions world;
    world.ignoredSignals = GetParam().ignored;
    world.blockedSignals = GetParam().blocked;
    startWith({}, world);
  }

  [[nodiscard]] std::tuple<std::set<int>, std::set<int>, std::set<int>> signalsOfDaemon() {
    const support::ProcessState state = support::stateOf(unit.daemon().pid());
    return {state.blockedSignals, state.ignoredSignals, state.caughtSignals};
  }
};

INSTANTIATE_TEST_SUITE_P(DaemonStartedWith, WorkerSignals, testing::ValuesIn(starts),
                         testing::PrintToStringParamName());

TEST_P(WorkerSignals, AreTheDefaultsAndNoneIsBlocked) {
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    SCOPED_TRACE(worker.arguments.front());
    EXPECT_EQ(worker.ignoredSignals, std::set<int>());
    EXPECT_EQ(worker.caughtSignals, std::set<int>());
    EXPECT_EQ(worker.blockedSignals, std::set<int>());
  }
}

TEST_P(WorkerSignals, LeaveTheDaemonsOwnAsTheyAre) {
  const auto before = signalsOfDaemon();
  startsOfAllWorkers();
  unit.settle();
  EXPECT_EQ(signalsOfDaemon(), before);
}

TEST_P(WorkerSignals, IncludeThatOfTheDaemonsDeathForAGenericOne) {
  sim::Worker& worker = genericWorker();
  unit.daemon().signal(SIGKILL);
  worker.waitForEnd();
}

}  // namespace
