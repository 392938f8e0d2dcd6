// The daemon is killed before each system call that a worker's process makes until it is the worker.

#include <gtest/gtest.h>

#include <string>

#include "support/held_birth.h"
#include "support/system_call_trace.h"
#include "system/support/killed_launch.h"

namespace {

using support::LaunchedKind;

class KilledDaemonSteps : public support::KilledLaunch {
 protected:
  void SetUp() override {
    if (const auto obstacle = support::SystemCallTrace::obstacle()) {
      GTEST_SKIP() << *obstacle;
    }
  }

  void expectNothingHalfStarted(const LaunchedKind& kind) {
    int call = 0;
    for (; !hasBecomeWorker_ && !HasFailure(); ++call) {
      SCOPED_TRACE("before call " + std::to_string(call));
      const Outcome outcome = outcomeOfKillBefore(call, kind);
      EXPECT_NE(outcome, Outcome::noProcess);
      EXPECT_EQ(outcome == Outcome::served, !kind.endsWithTheDaemon);
    }
    EXPECT_GT(call, 2) << "the calls were not seen";
  }

 private:
  /** Kills a daemon before the call of this number (from 0), or at the worker's first instruction behind the last. */
  Outcome outcomeOfKillBefore(int call, const LaunchedKind& kind) {
    startDaemon();
    support::HeldBirth birth(unit.daemon().pid());
    beginLaunch(kind);
    birth.waitForChild();
    for (int made = 0; made <= call && !hasBecomeWorker_; ++made) {
      hasBecomeWorker_ = !birth.runToNextCall();
    }
    killDaemon();
    birth.release();
    return clear(kind);
  }

  bool hasBecomeWorker_ = false;
};

TEST_F(KilledDaemonSteps, LeaveNoGenericWorker) {
  expectNothingHalfStarted(support::genericKind());
}

TEST_F(KilledDaemonSteps, LeaveAWholeKeyboardWorker) {
  expectNothingHalfStarted(support::keyboardKind());
}

TEST_F(KilledDaemonSteps, LeaveAWholeScsiWorker) {
  expectNothingHalfStarted(support::scsiKind());
}

}  // namespace
