// A configuration file that cannot be used: the daemon tells, and runs as if there were none.

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/prctl.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"

namespace {

namespace fs = std::filesystem;

const std::string configPath = "/vel/quor.conf";
const std::string cannotOpen = "Config failed to open file '/vel/quor.conf\n";

// A configuration that changes everything, were it read.
const std::string changesEverything =
    "[usb]\n"
    "debug = generic\n"
    "log_to_syslog = 1\n"
    "hid_only = 1\n"
    "[apps]\n"
    "quor_usb_rx_generic = /missing/worker\n";
constexpr int linesThatChangeEverything = 6;

/** Starts the daemon and checks that it serves a generic device as it does without any setting. */
sim::Daemon& runWithDefaults(sim::Unit& unit) {
  sim::Daemon& daemon = unit.startDaemon({"transmitter", "5000", "high"});
  unit.waitUntilServing();
  const std::string directory = unit.plug(scanner());
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(directory));
  return daemon;
}

struct BrokenFile {
  std::string name;
  std::string brokenText;  ///< behind the lines that would change everything
};

std::ostream& operator<<(std::ostream& out, const BrokenFile& file) {
  return out << file.name;
}

const std::vector<BrokenFile> brokenFiles = {
    {"LineWithoutAnEqualsSign", "nonsense\n"},
    {"SectionThatIsNotClosed", "[usb\n"},
    {"LineTooLong", "key = " + std::string(2000, 'v') + "\n"},
    {"LineFarTooLong", std::string(100'000, 'v') + "\n"},
    {"BytesThatAreNoText", "\x01\x02\xff\xfe\n"},
};

class BrokenFiles : public testing::TestWithParam<BrokenFile> {};

TEST_P(BrokenFiles, AreNamedWithTheBadLineAndThenIgnored) {
  const BrokenFile& file = GetParam();
  sim::Unit unit;
  unit.writeConfig(changesEverything + file.brokenText);

  sim::Daemon& daemon = runWithDefaults(unit);

  const std::string place = configPath + " (" + std::to_string(linesThatChangeEverything + 1) + ")";
  EXPECT_NE(daemon.standardError().find(place), std::string::npos) << daemon.standardError();
  EXPECT_EQ(daemon.standardOutput(), "");
}

std::string nameOf(const testing::TestParamInfo<BrokenFile>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Texts, BrokenFiles, testing::ValuesIn(brokenFiles), nameOf);

TEST(BadConfiguration, IsToldOnStandardOutputWhenItIsMissing) {
  sim::Unit unit;

  sim::Daemon& daemon = runWithDefaults(unit);

  EXPECT_EQ(daemon.standardOutput(), cannotOpen);
  EXPECT_EQ(daemon.standardError(), "");
}

TEST(BadConfiguration, IsToldAtOnceAndNotOnlyWhenTheDaemonEnds) {
  sim::Unit unit;

  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();

  EXPECT_EQ(daemon.standardOutput(), cannotOpen);
}

TEST(BadConfiguration, MayLackItsWholeDirectory) {
  sim::Unit unit;
  fs::remove("/vel");

  EXPECT_EQ(runWithDefaults(unit).standardOutput(), cannotOpen);
}

TEST(BadConfiguration, MayBeADirectory) {
  sim::Unit unit;
  fs::create_directory(configPath);

  sim::Daemon& daemon = runWithDefaults(unit);

  EXPECT_EQ(daemon.standardOutput(), cannotOpen);
  EXPECT_EQ(daemon.standardError(), "");
}

TEST(BadConfiguration, MayBeALinkToNowhere) {
  sim::Unit unit;
  fs::create_symlink("/vel/missing.conf", configPath);

  EXPECT_EQ(runWithDefaults(unit).standardOutput(), cannotOpen);
}

TEST(BadConfiguration, MayBeEmpty) {
  sim::Unit unit;
  unit.writeConfig("");

  sim::Daemon& daemon = runWithDefaults(unit);

  EXPECT_EQ(daemon.standardOutput(), "");
  EXPECT_EQ(daemon.standardError(), "");
}

TEST(BadConfiguration, MayBeClosedToTheDaemon) {
  sim::Unit unit;
  unit.writeConfig(changesEverything);
  fs::permissions(configPath, fs::perms::none);
  // The programs that this process starts now can read only what their user may read.
  ASSERT_EQ(::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE), 0);
  ASSERT_EQ(::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH), 0);

  sim::Daemon& daemon = runWithDefaults(unit);

  EXPECT_EQ(daemon.standardOutput(), cannotOpen);
  EXPECT_EQ(daemon.standardError(), "");
}

}  // namespace
