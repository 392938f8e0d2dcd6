#include "ctrl/worker_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/named_case.h"

namespace {

using ByPid = std::map<pid_t, std::string>;
using ByPath = std::map<std::string_view, pid_t>;

struct TableCase : support::NamedCase {
  std::vector<std::pair<pid_t, std::string>> added;
  std::vector<pid_t> removed;
  ByPid byPid;
  ByPath byPath;
};

// Whether each path is found by the memory of its own worker, which lives as long as its entry.
bool sharesPaths(const WorkerTable& workers) {
  return std::all_of(workers.byPath.begin(), workers.byPath.end(), [&workers](const auto& entry) {
    return entry.first.data() == workers.byPid.at(entry.second).data();
  });
}

class WorkerTableOf : public testing::TestWithParam<TableCase> {};

INSTANTIATE_TEST_SUITE_P(
    A, WorkerTableOf,
    testing::Values(
        TableCase{{"NoWorkers"}, {}, {}, {}, {}},
        TableCase{{"TwoWorkers"}, {{20, "b"}, {10, "c"}}, {}, {{10, "c"}, {20, "b"}}, {{"b", 20}, {"c", 10}}},
        // The path is the later worker's; the earlier one is still to be reaped.
        TableCase{{"TwoWorkersOfADevice"}, {{10, "a"}, {11, "a"}}, {}, {{10, "a"}, {11, "a"}}, {{"a", 11}}},
        TableCase{{"WorkerRemoved"}, {{10, "a"}, {11, "b"}}, {10}, {{11, "b"}}, {{"b", 11}}},
        TableCase{{"EarlierWorkerOfADeviceRemoved"}, {{10, "a"}, {11, "a"}}, {10}, {{11, "a"}}, {{"a", 11}}},
        TableCase{{"LaterWorkerOfADeviceRemoved"}, {{10, "a"}, {11, "a"}}, {11}, {{10, "a"}}, {}},
        TableCase{{"BothWorkersOfADeviceRemovedInTheirOrder"}, {{10, "a"}, {11, "a"}}, {10, 11}, {}, {}},
        TableCase{{"BothWorkersOfADeviceRemovedTheLaterFirst"}, {{10, "a"}, {11, "a"}}, {11, 10}, {}, {}},
        TableCase{{"MiddleWorkerOfADeviceRemoved"},
                  {{10, "a"}, {11, "a"}, {12, "a"}},
                  {11},
                  {{10, "a"}, {12, "a"}},
                  {{"a", 12}}},
        TableCase{{"UnknownWorkerRemoved"}, {{10, "a"}}, {12}, {{10, "a"}}, {{"a", 10}}}));

TEST_P(WorkerTableOf, HoldsThemInBothDirections) {
  WorkerTable workers;
  for (const auto& [pid, path] : GetParam().added) {
    workers.add(pid, path);
  }
  for (const pid_t pid : GetParam().removed) {
    workers.remove(pid);
  }
  EXPECT_EQ(workers.byPid, GetParam().byPid);
  EXPECT_EQ(workers.byPath, GetParam().byPath);
  EXPECT_TRUE(sharesPaths(workers));
}

TEST(WorkerTableTest, KnowsTheNewDeviceOfAProcessIdUsedAgain) {
  WorkerTable workers;
  workers.add(10, "former");
  workers.add(10, "b");
  EXPECT_EQ(workers.byPid, (ByPid{{10, "b"}}));
  EXPECT_EQ(workers.byPath, (ByPath{{"b", 10}}));
  EXPECT_TRUE(sharesPaths(workers));
}

TEST(WorkerTableTest, KeepsItsPathsWhenItIsMoved) {
  const std::string longPath(100, 'x');
  WorkerTable workers;
  workers.add(10, "a");
  workers.add(11, longPath);
  WorkerTable moved = std::move(workers);
  EXPECT_EQ(moved.byPath, (ByPath{{"a", 10}, {longPath, 11}}));
  EXPECT_TRUE(sharesPaths(moved));
  moved.remove(10);
  EXPECT_EQ(moved.byPath, (ByPath{{longPath, 11}}));
}

}  // namespace
