// The daemon is killed before each system call that a worker's process makes until it is the worker.

#include <gtest/gtest.h>

#include "support/held_birth.h"
#include "support/system_call_trace.h"
#include "system/support/killed_launch.h"

namespace {

using support::LaunchedKind;

class KilledDaemonSteps : public support::KilledLaunch, public testing::WithParamInterface<LaunchedKind> {
 protected:
  void SetUp() override {
    if (const auto obstacle = support::SystemCallTrace::obstacle()) {
      GTEST_SKIP() << *obstacle;
    }
  }

  /** Kills a daemon before the call of this number (from 0), or at the worker's first instruction behind the last. */
  Outcome outcomeOfKillBefore(int call) {
    startDaemon();
    support::HeldBirth birth(unit.daemon().pid());
    beginLaunch(GetParam());
    birth.waitForChild();
    hasBecomeWorker = false;
    for (int made = 0; made <= call && !hasBecomeWorker; ++made) {
      hasBecomeWorker = !birth.runToNextCall();
    }
    killDaemon();
    birth.release();
    return clear(GetParam());
  }

  /** In the latest launch. */
  bool hasBecomeWorker = false;
};

INSTANTIATE_TEST_SUITE_P(Of, KilledDaemonSteps,
                         testing::Values(support::genericKind(), support::keyboardKind(),
                                         support::scsiKind()),
                         testing::PrintToStringParamName());

TEST_P(KilledDaemonSteps, LeaveNothingHalfStarted) {
  int call = 0;
  for (; !hasBecomeWorker && !HasFailure(); ++call) {
    SCOPED_TRACE("before call " + std::to_string(call));
    const Outcome outcome = outcomeOfKillBefore(call);
    EXPECT_NE(outcome, Outcome::noProcess);
    EXPECT_EQ(outcome == Outcome::served, !GetParam().endsWithTheDaemon);
  }
  EXPECT_GT(call, 2) << "the calls were not seen";
}

}  // namespace
