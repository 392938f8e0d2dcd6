#include "ctrl/worker_table.h"

#include <gtest/gtest.h>

namespace {

using ByPid = std::map<pid_t, std::string>;
using ByPath = std::map<std::string, pid_t>;

TEST(WorkerTable, IsEmptyAtFirst) {
  const WorkerTable workers;
  EXPECT_TRUE(workers.byPid.empty());
  EXPECT_TRUE(workers.byPath.empty());
}

TEST(WorkerTable, FindsAWorkerByItsProcessAndByItsDevice) {
  WorkerTable workers;
  workers.add(20, "/sys/devices/b");
  workers.add(10, "/sys/devices/c");
  EXPECT_EQ(workers.byPid, (ByPid{{10, "/sys/devices/c"}, {20, "/sys/devices/b"}}));
  EXPECT_EQ(workers.byPath, (ByPath{{"/sys/devices/b", 20}, {"/sys/devices/c", 10}}));
}

TEST(WorkerTable, WalksWorkersFromTheLowestProcessIdToTheHighest) {
  WorkerTable workers;
  for (const pid_t pid : {300, 4, 20, 1000}) {
    workers.add(pid, "/sys/devices/" + std::to_string(pid));
  }
  std::vector<pid_t> walked;
  for (const auto& [pid, devpath] : workers.byPid) {
    walked.push_back(pid);
  }
  EXPECT_EQ(walked, (std::vector<pid_t>{4, 20, 300, 1000}));
}

TEST(WorkerTable, ALaterWorkerOfADeviceTakesOverThePathWhileTheEarlierIsStillToBeReaped) {
  WorkerTable workers;
  workers.add(10, "/sys/devices/a");
  workers.add(11, "/sys/devices/a");
  EXPECT_EQ(workers.byPath, (ByPath{{"/sys/devices/a", 11}}));
  EXPECT_EQ(workers.byPid, (ByPid{{10, "/sys/devices/a"}, {11, "/sys/devices/a"}}));
}

TEST(WorkerTable, AProcessIdUsedAgainHasItsNewDevice) {
  WorkerTable workers;
  workers.add(10, "/sys/devices/a");
  workers.add(10, "/sys/devices/b");
  EXPECT_EQ(workers.byPid, (ByPid{{10, "/sys/devices/b"}}));
  EXPECT_EQ(workers.byPath.at("/sys/devices/b"), 10);
}

TEST(WorkerTable, ForgetsAnEndedWorkerInBothDirections) {
  WorkerTable workers;
  workers.add(10, "/sys/devices/a");
  workers.add(11, "/sys/devices/b");
  workers.remove(10);
  EXPECT_EQ(workers.byPid, (ByPid{{11, "/sys/devices/b"}}));
  EXPECT_EQ(workers.byPath, (ByPath{{"/sys/devices/b", 11}}));
}

TEST(WorkerTable, ThePathOfAnEndedWorkerStaysWithTheWorkerThatTookItOver) {
  WorkerTable workers;
  workers.add(10, "/sys/devices/a");
  workers.add(11, "/sys/devices/a");
  workers.remove(10);
  EXPECT_EQ(workers.byPid, (ByPid{{11, "/sys/devices/a"}}));
  EXPECT_EQ(workers.byPath, (ByPath{{"/sys/devices/a", 11}}));
}

TEST(WorkerTable, KnowsNothingOfOtherProcesses) {
  WorkerTable workers;
  workers.add(10, "/sys/devices/a");
  workers.remove(12);
  EXPECT_EQ(workers.byPid, (ByPid{{10, "/sys/devices/a"}}));
  EXPECT_EQ(workers.byPath, (ByPath{{"/sys/devices/a", 10}}));
}

}  // namespace
