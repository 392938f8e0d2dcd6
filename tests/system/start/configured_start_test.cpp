// What the configuration file says where the command line is silent, and a file that cannot be used.

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/prctl.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "support/child.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"

namespace {

namespace fs = std::filesystem;

using support::commandLine;
using support::Lines;

const Lines debugsToStandardError = {"--debug", "--stderr"};
const Lines debugsToSyslog = {"--debug", "--syslog"};
const std::string cannotOpen = contract::error::cannotOpenConfig(contract::configurationPath);

struct Configuration {
  std::string name;
  std::string text;
  Lines options;        ///< of the daemon
  Lines workerOptions;  ///< of the generic worker
  friend std::ostream& operator<<(std::ostream& out, const Configuration& one) { return out << one.name; }
};

const std::vector<Configuration> debugLists = {
    {"List", "[usb]\ndebug = generic\n", {}, debugsToStandardError},
    {"ListOfSeveral", "[usb]\ndebug = keyboard,generic\n", {}, debugsToStandardError},
    {"None", "[usb]\ndebug = none\n", {}, {}},
    {"EmptyList", "[usb]\ndebug =\n", {}, {}},
    {"ListBehindAnOption", "[usb]\ndebug = generic\n", {"--debug=keyboard"}, {}},
    {"ListBehindAnOptionOfNone", "[usb]\ndebug = generic\n", {"--debug=none"}, {}},
    {"ListBehindAnEmptyOption", "[usb]\ndebug = generic\n", {"--debug="}, {}},
    {"BadListBehindAnOption", "[usb]\ndebug = bogus\n", {"--debug=none"}, {}},
    {"ListBesideTheClassOption", "[usb]\ndebug = generic\n", {"--class=all"}, debugsToStandardError},
    {"NamesInCapitals", "[USB]\nDebug = generic\n", {}, debugsToStandardError},
    {"KeyOfAnotherSection", "[apps]\ndebug = generic\n", {}, {}},
    {"KeyWithoutASection", "debug = generic\n", {}, {}},
    {"KeyBehindAnotherSection", "[apps]\nx = y\n[usb]\ndebug = generic\n", {}, debugsToStandardError},
    {"LineThatIsCommentedOut", "[usb]\n# debug = generic\n", {}, {}},
};

const std::vector<Configuration> logDestinations = {
    {"SyslogByOne", "[usb]\nlog_to_syslog = 1\n", {"--debug=generic"}, debugsToSyslog},
    {"SyslogByZero", "[usb]\nlog_to_syslog = 0\n", {"--debug=generic"}, debugsToSyslog},
    {"SyslogByNo", "[usb]\nlog_to_syslog = no\n", {"--debug=generic"}, debugsToSyslog},
    {"SyslogByAnEmptyValue", "[usb]\nlog_to_syslog =\n", {"--debug=generic"}, debugsToSyslog},
    {"KeyBehindTheStandardErrorOption",
     "[usb]\nlog_to_syslog = 1\n",
     {"--stderr", "--debug=generic"},
     debugsToStandardError},
    {"KeyBesideTheSyslogOption",
     "[usb]\nlog_to_syslog = 0\n",
     {"--syslog", "--debug=generic"},
     debugsToSyslog},
    {"KeyBehindBothOptions",
     "[usb]\nlog_to_syslog = 1\n",
     {"--syslog", "--stderr", "--debug=generic"},
     debugsToStandardError},
    {"BothKeys", "[usb]\ndebug = generic\nlog_to_syslog = 1\n", {}, debugsToSyslog},
};

class ConfiguredStart : public support::DaemonFixture, public testing::WithParamInterface<Configuration> {};

TEST_P(ConfiguredStart, ReachesTheGenericWorker) {
  unit.writeConfig(GetParam().text);
  sim::Daemon& daemon = start(commandLine(GetParam().options));

  const sim::WorkerStart& worker = attach(scanner()).start;

  EXPECT_EQ(worker.arguments, genericWorker(scanner().directory(), GetParam().workerOptions));
  EXPECT_EQ(daemon.standardOutput(), "");
}

INSTANTIATE_TEST_SUITE_P(DebugList, ConfiguredStart, testing::ValuesIn(debugLists),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(LogDestination, ConfiguredStart, testing::ValuesIn(logDestinations),
                         testing::PrintToStringParamName());

using ConfiguredStartOfTheDaemon = support::DaemonFixture;

TEST_F(ConfiguredStartOfTheDaemon, SwitchesItsOwnDebuggingOn) {
  unit.writeConfig("[usb]\ndebug = ctrl\n");

  unit.startDaemon(commandLine({})).waitForLine(contract::debug::line(contract::debug::hotplugging));
}

TEST_F(ConfiguredStartOfTheDaemon, SendsItsOwnMessagesToSyslogByTheMerePresenceOfTheKey) {
  unit.writeConfig("[usb]\nlog_to_syslog = 0\n");

  sim::Daemon& daemon = unit.startDaemon();

  unit.syslog.waitForText(contract::debug::line(contract::debug::hotplugging));
  EXPECT_EQ(daemon.standardError(), "");
}

TEST_F(ConfiguredStartOfTheDaemon, LeavesTheDestinationToTheStandardErrorOption) {
  unit.writeConfig("[usb]\nlog_to_syslog = 1\n");

  unit.startDaemon(commandLine({"--stderr", "--debug=ctrl"})).waitForLine(contract::debug::hotplugging);

  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST_F(ConfiguredStartOfTheDaemon, ReadsTheFileOnce) {
  sim::Daemon& daemon = start();
  unit.writeConfig("[usb]\nhid_only = 1\n[apps]\nquor_usb_rx_generic = /missing/worker\n");

  EXPECT_EQ(attach(scanner()).start.arguments, genericWorker(scanner().directory()));
  EXPECT_TRUE(daemon.isRunning());
}

/** A configuration that changes everything, were it read. */
const std::string changesEverything =
    "[usb]\n"
    "debug = generic\n"
    "log_to_syslog = 1\n"
    "hid_only = 1\n"
    "[apps]\n"
    "quor_usb_rx_generic = /missing/worker\n";
const std::string firstBadLine = std::string(contract::configurationPath) + " (7)";

class ConfiguredStartInVain : public support::DaemonFixture {
 protected:
  /** Starts the daemon and checks that it serves a generic device as it does without any setting. */
  sim::Daemon& startWithDefaults() {
    sim::Daemon& daemon = start(commandLine({}));
    EXPECT_EQ(attach(scanner()).start.arguments, genericWorker(scanner().directory()));
    return daemon;
  }

  void expectDefaultsAndAMessage() {
    sim::Daemon& daemon = startWithDefaults();
    EXPECT_EQ(daemon.standardOutput(), cannotOpen);
    EXPECT_EQ(daemon.standardError(), "");
  }
};

TEST_F(ConfiguredStartInVain, IgnoresAFileWithABadLineAndNamesTheLine) {
  for (const std::string& bad :
       {std::string("nonsense"), std::string("[usb"), "key = " + std::string(2000, 'v'),
        std::string(100'000, 'v'), std::string("\x01\x02\xff\xfe")}) {
    SCOPED_TRACE(bad.substr(0, 10));
    sim::Unit::writeConfig(changesEverything + bad + "\n");
    sim::Daemon& daemon = startWithDefaults();
    EXPECT_NE(daemon.standardError().find(firstBadLine), std::string::npos) << daemon.standardError();
    EXPECT_EQ(daemon.standardOutput(), "");
    daemon.signal(SIGKILL);
    daemon.waitForExit();
    unit.unplug(scanner().directory());
  }
}

TEST_F(ConfiguredStartInVain, PrintsAtOnceThatThereIsNoFile) {
  EXPECT_EQ(start().standardOutput(), cannotOpen);
}

TEST_F(ConfiguredStartInVain, NeedsNoFile) {
  expectDefaultsAndAMessage();
}

TEST_F(ConfiguredStartInVain, NeedsNotEvenTheFilesDirectory) {
  fs::remove("/vel");
  expectDefaultsAndAMessage();
}

TEST_F(ConfiguredStartInVain, TakesADirectoryInItsPlaceForNoFile) {
  fs::create_directory(contract::configurationPath);
  expectDefaultsAndAMessage();
}

TEST_F(ConfiguredStartInVain, TakesALinkToNowhereForNoFile) {
  fs::create_symlink("/vel/missing.conf", contract::configurationPath);
  expectDefaultsAndAMessage();
}

TEST_F(ConfiguredStartInVain, TakesAFileThatItMayNotReadForNoFile) {
  support::inChild([this] {
    unit.writeConfig(changesEverything);
    fs::permissions(contract::configurationPath, fs::perms::none);
    // The programs that this process starts now can read only what their user may read.
    ASSERT_EQ(::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE), 0);
    ASSERT_EQ(::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH), 0);
    expectDefaultsAndAMessage();
  });
}

TEST_F(ConfiguredStartInVain, TakesAnEmptyFileAsItIs) {
  unit.writeConfig("");

  sim::Daemon& daemon = startWithDefaults();

  EXPECT_EQ(daemon.standardOutput() + daemon.standardError(), "");
}

}  // namespace
