// How usb_rx_explain ends: 0 where all devices are served, 1 where one is not, 2 where it cannot answer.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/files.h"
#include "sim/unit.h"
#include "support/named_case.h"
#include "support/temporary_directory.h"
#include "system/explain/explanation.h"
#include "system/explain/recorded_devices.h"

namespace {

using support::folderOf;

using Arguments = std::vector<std::string>;

int statusOf(const Arguments& arguments) {
  const support::ExplainRun run = support::runExplain(arguments);
  EXPECT_FALSE(run.end == sim::ProcessEnd::exited(2) && run.errors.empty());
  return run.end.status.value_or(-1);
}

TEST(ExplainExitStatus, IsZeroWhereAllAreServed) {
  const sim::Unit unit;
  EXPECT_EQ(statusOf({folderOf("mouse-fs")}), 0);
  EXPECT_EQ(statusOf({folderOf("mouse-fs"), folderOf("mtp-hs"), folderOf("kbd-fs")}), 0);
  EXPECT_EQ(statusOf({"--class=scsi", folderOf("storage-hs")}), 0);
}

TEST(ExplainExitStatus, IsOneWhereOneIsRefused) {
  const sim::Unit unit;
  EXPECT_EQ(statusOf({folderOf("audio")}), 1);
  EXPECT_EQ(statusOf({folderOf("mouse-fs"), folderOf("audio"), folderOf("mtp-hs")}), 1);
  EXPECT_EQ(statusOf({"--speed", "full", folderOf("mtp-hs")}), 1);
  sim::Unit::writeConfig("[usb]\nisochronous_user_warning = no\n");
  EXPECT_EQ(statusOf({folderOf("audio")}), 1);
}

TEST(ExplainExitStatus, IsOneWhereOneHasNoWorker) {
  const sim::Unit unit;
  EXPECT_EQ(statusOf({"--class=keyboard", folderOf("kbd-fs")}), 1);
  EXPECT_EQ(statusOf({folderOf("hub")}), 1);
  EXPECT_EQ(statusOf({folderOf("mouse-fs"), folderOf("root-hubs")}), 1);
}

TEST(ExplainExitStatus, DependsOnPluggedHubsOnlyWhereTheyAreNamed) {
  sim::Unit unit;
  unit.sysfs.layOut(sim::loadRecording("hub-mouse"));
  EXPECT_EQ(statusOf({}), 0);
  EXPECT_EQ(statusOf({"usb1"}), 1);
  EXPECT_EQ(statusOf({"1-5"}), 1);
  EXPECT_EQ(statusOf({"1-5.1"}), 0);
}

TEST(ExplainExitStatus, IsZeroWhereNothingIsPluggedIn) {
  const sim::Unit unit;
  EXPECT_EQ(statusOf({}), 0);
  EXPECT_EQ(statusOf({"--json"}), 0);
}

struct Misuse : support::NamedCase {
  Arguments arguments;
};

class ExplainExitStatusOfMisuse : public testing::TestWithParam<Misuse> {};

INSTANTIATE_TEST_SUITE_P(
    CommandLine, ExplainExitStatusOfMisuse,
    testing::Values(Misuse{{"UnknownOption"}, {"--what"}}, Misuse{{"UnknownClass"}, {"--class=disk"}},
                    Misuse{{"NoDevice"}, {"9-9"}}, Misuse{{"NoFile"}, {"/nowhere/audio"}},
                    Misuse{{"AnEmptyFolder"}, {"/vel"}}, Misuse{{"OneOfTwo"}, {folderOf("mouse-fs"), "9-9"}},
                    Misuse{{"OneOfTwoForPrograms"}, {"--json", "9-9", folderOf("mouse-fs")}},
                    Misuse{{"NoPort"}, {"--transmitter", "host", folderOf("mouse-fs")}},
                    Misuse{{"NoValue"}, {"--config"}}),
    testing::PrintToStringParamName());

TEST_P(ExplainExitStatusOfMisuse, IsTwo) {
  const sim::Unit unit;
  sim::Unit::writeConfig("");
  EXPECT_EQ(statusOf(GetParam().arguments), 2);
}

TEST(ExplainExitStatus, IsTwoWhereTheDaemonWouldNotStart) {
  const sim::Unit unit;
  for (const char* setting : {"debug = all\n", "classes = disk\n"}) {
    sim::Unit::writeConfig(support::configurationWith(setting));
    EXPECT_EQ(statusOf({folderOf("mouse-fs")}), 2) << setting;
  }
}

TEST(ExplainExitStatus, IsTwoForRecordingsThatCannotBeRead) {
  const sim::Unit unit;
  const support::TemporaryDirectory parent;
  const std::string folder = support::writeFolder(sim::loadRecording("mouse-fs"), parent.path());
  EXPECT_EQ(statusOf({folder}), 0);
  sim::writeFile(folder + "/tree.txt", "x devices/1-1\n");
  EXPECT_EQ(statusOf({folder}), 2);
}

}  // namespace
