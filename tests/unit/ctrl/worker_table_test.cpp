#include "ctrl/worker_table.h"

#include <gtest/gtest.h>

#include <string>
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
}

TEST(WorkerTableTest, KnowsTheNewDeviceOfAProcessIdUsedAgain) {
  WorkerTable workers;
  workers.add(10, "a");
  workers.add(10, "b");
  EXPECT_EQ(workers.byPid, (ByPid{{10, "b"}}));
  EXPECT_EQ(workers.byPath.at("b"), 10);
}

}  // namespace
