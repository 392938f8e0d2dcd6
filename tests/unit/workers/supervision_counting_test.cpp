// How failures are counted, and when devices begin to wait for the Transmitter.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include "unit/workers/supervision_world.h"

namespace {

using Counts = std::vector<std::uint32_t>;

constexpr double microsecond = 1e-6;

const std::string waitMessage = "<0>Synthetic Device cannot be attached until Transmitter available\n";

// The counters before a worker ends.
// cppcheck-suppress constParameter ; it changes the daemon's state
void setCounters(SupervisionWorld& world, std::uint32_t restartCount, bool attachBlocked,
                 double secondsSinceStart) {
  world.ctrl->restartCount = restartCount;
  world.ctrl->attachBlocked = attachBlocked;
  world.ctrl->lastGenericStart = world.now - secondsSinceStart;
}

bool isToldToTimeOut(SupervisionWorld& world) {
  const std::vector<std::string> arguments = world.nextStart().arguments;
  return std::find(arguments.begin(), arguments.end(), "--timeout") != arguments.end();
}

TEST(FailureCount, RisesByTwoWithEachFailureUntilTheFifthBlocksAttaching) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    Counts counts;
    while (!world.ctrl->attachBlocked && counts.size() < 9) {
      EXPECT_EQ(world.ctrl.shown(), Lines{});
      world.exitNext(1);
      world.reap();
      counts.push_back(world.ctrl->restartCount);
    }
    EXPECT_EQ(counts, (Counts{2, 4, 6, 8, 10}));
    EXPECT_EQ(world.ctrl.shown(), Lines{waitMessage});
  });
}

TEST(FailureCount, IsToldWithEachRestartAsItIsBeforeThat) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    for (const char* count : {"1", "3", "5", "7", "9", "11"}) {
      world.exitNext(1);
      EXPECT_EQ(world.saidReaping().at(4),
                "[rx_ctrl] device " + device + " still present; restarting " + count);
    }
  });
}

TEST(FailureCount, BlocksAttachingAnewWithEveryFurtherRestart) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    setCounters(world, 10, true, 0.0);
    for (const std::uint32_t count : {12U, 14U, 16U}) {
      world.exitNext(1);
      world.reap();
      EXPECT_EQ(world.ctrl->restartCount, count);
      EXPECT_EQ(world.ctrl.shown(), Lines{waitMessage});
    }
  });
}

TEST(FailureCount, OfEightBeforeTheRestartIsTolerated) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    setCounters(world, 7, false, 0.0);
    world.exitNext(1);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 9U);
    EXPECT_FALSE(world.ctrl->attachBlocked);
    EXPECT_EQ(world.ctrl.shown(), Lines{});
  });
}

TEST(FailureCount, OfNineBeforeTheRestartIsNot) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    setCounters(world, 8, false, 0.0);
    world.exitNext(1);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 10U);
    EXPECT_TRUE(world.ctrl->attachBlocked);
    EXPECT_EQ(world.ctrl.shown(), Lines{waitMessage});
  });
}

TEST(FailureCount, IsOfAllDevicesTogether) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker({.name = "1-1"});
    world.plugWithWorker({.name = "1-2"});
    world.exitNext(1);
    world.exitNext(1);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 4U);
  });
}

TEST(FailureCount, RisesWhateverAWorkerFailsWith) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    for (const int status : {0, 1, 4, 6, 27, 29, 255}) {
      setCounters(world, 0, false, 0.0);
      world.exitNext(status);
      world.reap();
      EXPECT_EQ(world.ctrl->restartCount, 2U) << status;
    }
  });
}

TEST(FailureCount, RisesWithSignalsWhateverTheirNumbers) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    for (const int signal : {SIGKILL, SIGTERM, 5, 28 + 6, 42}) {
      setCounters(world, 0, false, 0.0);
      world.killNext(signal);
      world.reap();
      EXPECT_EQ(world.ctrl->restartCount, 2U) << signal;
    }
    EXPECT_EQ(world.ctrl.shown(), Lines{});
  });
}

TEST(FailureCount, StillRisesWhenTheRestartPeriodHasJustPassed) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    setCounters(world, 4, true, 20.0);
    world.exitNext(1);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 6U);
    EXPECT_TRUE(world.ctrl->attachBlocked);
  });
}

TEST(FailureCount, BeginsAnewAfterTheRestartPeriod) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    setCounters(world, 14, true, 20.0);
    world.now += microsecond;
    world.exitNext(1);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 1U);
    EXPECT_FALSE(world.ctrl->attachBlocked);
    EXPECT_EQ(world.ctrl.shown(), Lines{});
  });
}

TEST(FailureCount, BeginsAnewWithEveryFailureWhereThePeriodIsNotANumber) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.ctrl->restartPeriod = restartPeriodOf("abc");
    world.plugWithWorker();
    for (int i = 0; i < 7; ++i) {
      world.now += microsecond;
      world.exitNext(1);
      world.reap();
      EXPECT_EQ(world.ctrl->restartCount, 1U);
    }
    EXPECT_EQ(world.ctrl.shown(), Lines{});
  });
}

TEST(FailureCount, BeginsAnewWhereNoGenericWorkerWasEverStarted) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    world.ctrl->lastGenericStart = 0.0;
    world.ctrl->restartCount = 9;
    world.exitNext(1);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 1U);
  });
}

TEST(FailureCount, IsJudgedBeforeThePauses) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    setCounters(world, 4, false, 19.9);
    world.exitNext(1);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 6U);
  });
}

TEST(ConnectTimeout, IsToldAndCountsByItsRestartAlone) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    setCounters(world, 4, true, 100.0);
    world.exitNext(28);
    const Lines said = world.saidReaping();
    EXPECT_EQ(Lines(said.begin() + 1, said.begin() + 5),
              tagged({"  exited with status 28", "RxGeneric exited due to timeout",
                      "device " + device + " still present; sleep again",
                      "device " + device + " still present; sleep again"}));
    EXPECT_EQ(said.at(5), "[rx_ctrl] device " + device + " still present; restarting 4");
    EXPECT_EQ(world.ctrl->restartCount, 5U);
    EXPECT_TRUE(world.ctrl->attachBlocked);
  });
}

TEST(ConnectTimeout, OfAWorkerWithoutTheTimeoutBlocksNothing) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    setCounters(world, 0, false, 0.0);
    world.exitNext(28);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 1U);
    EXPECT_FALSE(world.ctrl->attachBlocked);
  });
}

TEST(ConnectTimeout, OfEightBeforeTheRestartIsTolerated) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    setCounters(world, 8, false, 0.0);
    world.exitNext(28);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 9U);
    EXPECT_FALSE(world.ctrl->attachBlocked);
    EXPECT_EQ(world.ctrl.shown(), Lines{});
  });
}

TEST(ConnectTimeout, BlocksAttachingWhenItsRestartIsOneTooMany) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    setCounters(world, 9, false, 0.0);
    world.exitNext(28);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 10U);
    EXPECT_TRUE(world.ctrl->attachBlocked);
    EXPECT_EQ(world.ctrl.shown(), Lines{waitMessage});
  });
}

TEST(BlockedAttaching, BeginsWithTheVeryRestartThatIsOneTooMany) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.connectClient();
    world.plugWithWorker();
    setCounters(world, 8, false, 1.0);
    const double lastStart = world.ctrl->lastGenericStart;
    static_cast<void>(world.ctrl.shown());
    world.exitNext(1);
    world.reap();
    EXPECT_TRUE(isToldToTimeOut(world));
    EXPECT_EQ(world.ctrl.shown(), Lines{waitMessage});
    EXPECT_EQ(world.ctrl->lastGenericStart, lastStart);
  });
}

TEST(BlockedAttaching, EndsWithTheRestartAfterAQuietPeriod) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.connectClient();
    world.plugWithWorker();
    setCounters(world, 10, true, 20.5);
    static_cast<void>(world.ctrl.shown());
    world.exitNext(1);
    const double end = world.now;
    world.reap();
    EXPECT_FALSE(isToldToTimeOut(world));
    EXPECT_EQ(world.ctrl.shown(), Lines{"Synthetic Device attached\n"});
    EXPECT_NEAR(world.ctrl->lastGenericStart, end + 0.15, microsecond);
  });
}

}  // namespace
