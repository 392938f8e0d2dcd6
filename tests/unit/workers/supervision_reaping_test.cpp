// Which children are collected, and what is said of each.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/descriptors.h"
#include "support/thrown.h"
#include "unit/workers/supervision_world.h"

namespace {

const std::string goneDevice = "/sys/devices/gone";

bool hasChildren() {
  return waitpid(-1, nullptr, WNOHANG) != -1;
}

// So many workers, of devices that have gone, have ended.
void endWorkers(SupervisionWorld& world, int count) {
  for (int i = 0; i < count; ++i) {
    world.exitedWorker(i % 2, "/sys/devices/" + std::to_string(i));
  }
}

TEST(Reaping, WithoutAnyChildDoesNothing) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.ctrl->restartCount = 3;
    EXPECT_EQ(world.saidReaping(), Lines{});
    EXPECT_EQ(world.ctrl->restartCount, 3U);
    EXPECT_TRUE(world.pauses.empty());
  });
}

TEST(Reaping, LeavesRunningWorkersAlone) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    EXPECT_EQ(world.saidReaping(), Lines{});
    EXPECT_TRUE(world.board.waitForWorker().isRunning());
    EXPECT_TRUE(world.ctrl->workers.byPath.contains(device));
  });
}

TEST(Reaping, TellsTheExitStatus) {
  inSupervisionWorld([](SupervisionWorld& world) {
    for (const int status : {0, 1, 27, 42, 255}) {
      const std::string pid = std::to_string(world.exitedWorker(status, goneDevice));
      EXPECT_EQ(world.saidReaping(), tagged({"subprocess " + pid + " has terminated",
                                             "  exited with status " + std::to_string(status),
                                             "device " + goneDevice + " has gone"}));
    }
  });
}

TEST(Reaping, TellsTheSignal) {
  inSupervisionWorld([](SupervisionWorld& world) {
    for (const int signal : {SIGTERM, SIGKILL, SIGSEGV}) {
      const std::string device = world.plugWithWorker();
      const std::string pid = std::to_string(world.ctrl->workers.byPath.at(device));
      world.sysfs.removeDevice(device);
      world.killNext(signal);
      EXPECT_EQ(world.saidReaping(), tagged({"subprocess " + pid + " has terminated",
                                             "  terminated due to signal " + std::to_string(signal),
                                             "device " + device + " has gone"}));
    }
  });
}

TEST(Reaping, SaysNothingWithoutDebugging) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    SupervisionWorld::exitedChild(1);
    world.exitedWorker(1, goneDevice);
    world.exitNext(28);
    EXPECT_EQ(support::saidDuring([&world] { world.reap(); }), Lines{});
    EXPECT_EQ(world.ctrl->workers.byPid.size(), 1U);
    EXPECT_EQ(world.ctrl->workers.byPath.count(device), 1U);
  });
}

TEST(Reaping, OfAnUnknownChildIsTold) {
  inSupervisionWorld([](SupervisionWorld& world) {
    for (const int status : {0, 1, 5, 28}) {
      const std::string pid = std::to_string(SupervisionWorld::exitedChild(status));
      EXPECT_EQ(world.saidReaping(), tagged({"subprocess " + pid + " has terminated",
                                             "  exited with status " + std::to_string(status),
                                             "don't know what that subprocess was; maybe insmod"}));
    }
    EXPECT_FALSE(hasChildren());
  });
}

TEST(Reaping, OfAnUnknownChildChangesNothing) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.ctrl->restartCount = 3;
    world.ctrl->attachBlocked = true;
    SupervisionWorld::exitedChild(1);
    SupervisionWorld::exitedChild(5);
    SupervisionWorld::exitedChild(28);
    world.reap();
    EXPECT_EQ(world.ctrl->restartCount, 3U);
    EXPECT_TRUE(world.ctrl->attachBlocked);
    EXPECT_TRUE(world.pauses.empty());
    EXPECT_EQ(world.ctrl.shown(), Lines{});
  });
}

TEST(Reaping, GoesOnBehindAnUnknownChild) {
  inSupervisionWorld([](SupervisionWorld& world) {
    SupervisionWorld::exitedChild(0);
    world.exitedWorker(0, goneDevice);
    SupervisionWorld::exitedChild(0);
    world.reap();
    EXPECT_FALSE(hasChildren());
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
  });
}

TEST(Reaping, ForgetsTheWorkerInBothDirections) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.exitedWorker(1, goneDevice);
    world.exitedWorker(5, "/sys/devices/other");
    world.reap();
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
    EXPECT_TRUE(world.ctrl->workers.byPath.empty());
  });
}

TEST(Reaping, LeavesADeviceToItsLaterWorker) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.exitedWorker(5, goneDevice);
    world.ctrl->addWorker(1, goneDevice);
    world.reap();
    EXPECT_EQ(world.ctrl->workers.byPath, (std::map<std::string, pid_t>{{goneDevice, 1}}));
  });
}

TEST(Reaping, CollectsTwoThatEndedAtOnce) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const pid_t first = world.exitedWorker(0, goneDevice);
    const pid_t second = world.exitedWorker(1, "/sys/devices/other");
    const Lines said = world.saidReaping();
    EXPECT_EQ(said.size(), 6U);
    for (const pid_t pid : {first, second}) {
      const Lines line = tagged({"subprocess " + std::to_string(pid) + " has terminated"});
      EXPECT_EQ(std::count(said.begin(), said.end(), line.front()), 1);
    }
    EXPECT_FALSE(hasChildren());
  });
}

TEST(Reaping, CollectsAlsoWhatEndsMeanwhile) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.exitedWorker(0, goneDevice);
    world.inPause = [&world] {
      world.inPause = nullptr;
      world.exitedWorker(0, "/sys/devices/other");
    };
    world.reap();
    EXPECT_FALSE(hasChildren());
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
  });
}

TEST(Reaping, CollectsTwoHundredAndKeepsNothingOfThem) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::set<int> descriptors = support::openDescriptors();
    endWorkers(world, 200);
    world.reap();
    EXPECT_FALSE(hasChildren());
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
    EXPECT_TRUE(world.ctrl->workers.byPath.empty());
    EXPECT_EQ(support::openDescriptors(), descriptors);
  });
}

TEST(Reaping, DoesNotWaitForAChild) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.exitedWorker(0, goneDevice);
    std::vector<std::pair<pid_t, int>> calls;
    const support::Replaced waiting(library::waitpid, [&calls](pid_t child, int* status, int options) {
      calls.emplace_back(child, options);
      return library::waitpid.real(child, status, options);
    });
    world.reap();
    EXPECT_EQ(calls, (std::vector<std::pair<pid_t, int>>{{-1, WNOHANG}, {-1, WNOHANG}}));
  });
}

TEST(Reaping, ThrowsWhatElseWaitingFailsWith) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const support::Replaced waiting(library::waitpid, [](pid_t, int*, int) {
      errno = EINVAL;
      return -1;
    });
    EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>([&world] { world.reap(); }), "waitpid()");
  });
}

}  // namespace
