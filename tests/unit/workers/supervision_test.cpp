// Which children are collected, what is logged of each, and whether its device is still there.

#include "workers/supervision.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ctrl/settings.h"
#include "sim/contract.h"
#include "sim/files.h"
#include "support/thrown.h"
#include "unit/workers/supervision_world.h"
#include "workers/exit_status.h"

namespace {

using support::Lines;
using support::tagged;
using Pauses = std::vector<double>;
namespace debug = contract::debug;

const std::string goneDevice = "/sys/devices/gone";

bool hasChildren() {
  return waitpid(-1, nullptr, WNOHANG) != -1;
}

using SupervisionReaping = Supervision;

TEST_F(SupervisionReaping, WithoutAnyChildDoesNothing) {
  ctrl_->restartCount = 3;
  EXPECT_EQ(logOfReaping(), Lines{});
  EXPECT_EQ(ctrl_->restartCount, 3U);
  EXPECT_TRUE(pauses_.empty());
}

TEST_F(SupervisionReaping, LeavesRunningWorkersAlone) {
  const std::string device = plugWithWorker();
  EXPECT_EQ(logOfReaping(), Lines{});
  EXPECT_TRUE(workers_.waitForWorker().isRunning());
  EXPECT_TRUE(ctrl_->workers.byPath.contains(device));
}

TEST_F(SupervisionReaping, LogsTheExitStatus) {
  for (const int status : {0, 1, 27, 41, 43, 255}) {
    const pid_t worker = exitedWorker(status, goneDevice);
    EXPECT_EQ(logOfReaping(),
              tagged({debug::terminated(worker), debug::withStatus(status), debug::gone(goneDevice)}));
  }
}

TEST_F(SupervisionReaping, LogsTheSignal) {
  for (const int signal : {SIGTERM, SIGKILL, SIGSEGV}) {
    const std::string device = plugWithWorker();
    const pid_t worker = ctrl_->workers.byPath.at(device);
    sysfs_.removeDevice(device);
    killNext(signal);
    EXPECT_EQ(logOfReaping(),
              tagged({debug::terminated(worker), debug::bySignal(signal), debug::gone(device)}));
  }
}

TEST_F(SupervisionReaping, OfAnUnknownChildIsLoggedAndChangesNothing) {
  ctrl_->restartCount = 3;
  ctrl_->attachBlocked = true;
  for (const int status : {0, 1, 5, 28}) {
    const pid_t child = exitedChild(status);
    EXPECT_EQ(logOfReaping(),
              tagged({debug::terminated(child), debug::withStatus(status), debug::unknownChild}));
  }
  EXPECT_FALSE(hasChildren());
  EXPECT_EQ(ctrl_->restartCount, 3U);
  EXPECT_TRUE(ctrl_->attachBlocked);
  EXPECT_TRUE(pauses_.empty());
  EXPECT_EQ(ctrl_.shown(), Lines{});
}

TEST_F(SupervisionReaping, GoesOnBehindAnUnknownChild) {
  exitedChild(0);
  exitedWorker(0, goneDevice);
  exitedChild(0);
  reap();
  EXPECT_FALSE(hasChildren());
  EXPECT_TRUE(ctrl_->workers.byPid.empty());
}

TEST_F(SupervisionReaping, ForgetsTheWorkerAndLeavesADeviceToItsLaterOne) {
  exitedWorker(1, goneDevice);
  exitedWorker(5, goneDevice);
  exitedWorker(5, "/sys/devices/other");
  ctrl_->addWorker(1, goneDevice);
  reap();
  EXPECT_EQ(ctrl_->workers.byPid, (std::map<pid_t, std::string>{{1, goneDevice}}));
  EXPECT_EQ(ctrl_->workers.byPath, (std::map<std::string_view, pid_t>{{goneDevice, 1}}));
}

TEST_F(SupervisionReaping, CollectsAlsoWhatEndsMeanwhile) {
  exitedWorker(0, goneDevice);
  inPause_ = [this] {
    inPause_ = nullptr;
    exitedWorker(0, "/sys/devices/other");
  };
  reap();
  EXPECT_FALSE(hasChildren());
  EXPECT_TRUE(ctrl_->workers.byPid.empty());
}

/** Reaps children of its own: a process that is to end has them. */
void reapExited(RxCtrl& ctrl, const std::vector<int>& statuses, bool debugs) {
  for (const int status : statuses) {
    const pid_t child = fork();
    if (child == 0) {
      _exit(status);
    }
    waitUntilEnded(child);
  }
  settings.debugCtrl = debugs;
  reapWorkers(ctrl);
}

TEST_F(SupervisionReaping, OfAnyChildThatCouldNotBeExecutedEndsTheDaemon) {
  const testing::ExitedWithCode failed(1);
  EXPECT_EXIT(reapExited(*ctrl_, {execFailedStatus}, false), failed, testing::Eq(""));
  EXPECT_EXIT(reapExited(*ctrl_, {execFailedStatus}, true), failed, testing::Eq(contract::error::execFailed));
  EXPECT_EXIT(reapExited(*ctrl_, {0, execFailedStatus}, false), failed, testing::Eq("")) << "behind another";
}

/** Workers that end as soon as they are started. */
class SupervisionReapingOfDyingWorkers : public Supervision {
 protected:
  void endAll() {
    for (const auto& [pid, device] : ctrl_->workers.byPid) {
      if (ended_.insert(pid).second) {
        exitNext(1);
      }
    }
  }
  void letDieInPauses() {
    constexpr std::size_t pausesForEver = 30;
    inPause_ = [this] {
      if (pauses_.size() < pausesForEver) {
        endAll();
      }
    };
  }

 private:
  std::set<pid_t> ended_;
};

TEST_F(SupervisionReapingOfDyingWorkers, EndsWithTheFirstThatItHasStartedItself) {
  plugWithWorker({.name = "1-1"});
  plugWithWorker({.name = "1-2"});
  endAll();
  letDieInPauses();

  const Pauses threeWorkers(9, 0.05);
  reap();
  EXPECT_EQ(pauses_, threeWorkers) << "the two that had ended, and the first that ended again";
  EXPECT_EQ(ctrl_->workers.byPid.size(), 2U);

  pauses_.clear();
  reap();
  EXPECT_EQ(pauses_, threeWorkers) << "the others are left to the next call";
}

TEST_F(SupervisionReapingOfDyingWorkers, GoesOnBehindTheLaterWorkerOfADevice) {
  const std::string device = sysfs_.add(sim::UsbDevice{});
  exitedWorker(1, device);
  exitedWorker(1, device);
  exitedWorker(1, goneDevice);
  reap();
  EXPECT_EQ(ctrl_->workers.byPid, (std::map<pid_t, std::string>{{nextStart().pid, device}}));
}

TEST_F(SupervisionReaping, DoesNotWaitForAChild) {
  using Call = std::pair<pid_t, int>;
  exitedWorker(0, goneDevice);
  std::vector<Call> calls;
  const support::Replaced waiting(library::waitpid, [&calls](pid_t child, int* status, int options) {
    calls.emplace_back(child, options);
    return library::waitpid.real(child, status, options);
  });
  reap();
  EXPECT_EQ(calls, (std::vector<Call>{{-1, WNOHANG}, {-1, WNOHANG}}));
}

TEST_F(SupervisionReaping, ThrowsWhatElseWaitingFailsWith) {
  const support::Replaced waiting(library::waitpid, [](pid_t, int*, int) {
    errno = EINVAL;
    return -1;
  });
  EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>([this] { reap(); }), "waitpid()");
}

class SupervisionPresence : public Supervision {
 protected:
  /** The device of an ended worker goes in the pause of this number. */
  void removeInPause(const std::string& device, std::size_t number) {
    inPause_ = [this, device, number] {
      if (pauses_.size() == number) {
        sysfs_.removeDevice(device);
      }
    };
  }
};

class SupervisionPresenceUntil : public SupervisionPresence,
                                 public testing::WithParamInterface<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(Pause, SupervisionPresenceUntil, testing::Values(1, 2, 3));

TEST_P(SupervisionPresenceUntil, IsSeenToEndAndNotAwaitedAnyLonger) {
  const std::string device = plugWithWorker();
  ctrl_->restartCount = 4;
  exitNext(1);
  removeInPause(device, GetParam());
  const Lines log = logOfReaping();
  Lines expected(GetParam() - 1, debug::stillPresent(device));
  expected.push_back(debug::gone(device));
  EXPECT_EQ(Lines(log.begin() + 2, log.end()), tagged(expected));
  EXPECT_EQ(pauses_, Pauses(GetParam(), 0.05));
  EXPECT_EQ(ctrl_->restartCount, 0U);
  EXPECT_TRUE(ctrl_->workers.byPid.empty());
  EXPECT_EQ(workers_.count(), 1U);
  EXPECT_EQ(ctrl_.shown(), Lines{});
}

TEST_F(SupervisionPresence, AfterThreePausesIsBelieved) {
  const std::string device = plugWithWorker();
  exitNext(1);
  removeInPause(device, 4);
  reap();
  EXPECT_EQ(pauses_, Pauses(3, 0.05));
  EXPECT_TRUE(ctrl_->workers.byPath.contains(device));
}

TEST_F(SupervisionPresence, IsNotLookedAtBeforeThePause) {
  const std::string device = plugWithWorker();
  sysfs_.removeDevice(device);
  exitNext(1);
  inPause_ = [this] { sysfs_.add(sim::UsbDevice{}); };
  reap();
  EXPECT_TRUE(ctrl_->workers.byPath.contains(device));
}

TEST_F(SupervisionPresence, EndsAlsoWhereADirectoryAboveIsNoneAnyMore) {
  sim::writeFile("/sys/devices/file", "");
  exitedWorker(1, "/sys/devices/file/1-1");
  EXPECT_EQ(logOfReaping().back(), tagged({debug::gone("/sys/devices/file/1-1")}).front());
}

TEST_F(SupervisionPresence, ThatCannotBeKnownIsThrownAndTheWorkerIsForgotten) {
  sysfs_.makeLink("/sys/devices/loop", "loop");
  exitedWorker(1, "/sys/devices/loop/1-1");
  EXPECT_EQ(support::contextThrownBy([this] { reap(); }), "stat(/sys/devices/loop/1-1)");
  EXPECT_TRUE(ctrl_->workers.byPid.empty());
}

TEST_F(SupervisionPresence, ThatEndsSetsTheCountBackAndLeavesAttachingBlocked) {
  for (const int status : {1, 28}) {
    ctrl_->restartCount = 11;
    ctrl_->attachBlocked = true;
    ctrl_->lastGenericStart = now_;
    exitedWorker(status, goneDevice);
    reap();
    EXPECT_EQ(ctrl_->restartCount, 0U) << status;
    EXPECT_TRUE(ctrl_->attachBlocked) << status;
  }
}

}  // namespace
