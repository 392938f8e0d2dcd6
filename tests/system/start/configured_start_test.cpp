// What the configuration file says where the command line is silent, and a file that cannot be used.

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"

namespace {

using namespace std::string_literals;
using support::commandLine;
using support::Lines;
using support::scanner;

const Lines debugsToStandardError = {"--debug", "--stderr"};
const Lines debugsToSyslog = {"--debug", "--syslog"};

struct Configuration : support::NamedCase {
  std::string text;
  Lines options;        ///< of the daemon
  Lines workerOptions;  ///< of the generic worker
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

  EXPECT_EQ(worker.arguments, support::genericWorker(scanner().directory(), GetParam().workerOptions));
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

class ConfiguredStartInVain : public support::DaemonFixture {
 protected:
  /** Starts the daemon and checks that it serves a generic device as it does without any setting. */
  sim::Daemon& startWithDefaults() {
    sim::Daemon& daemon = start(commandLine({}));
    EXPECT_EQ(attach(scanner()).start.arguments, support::genericWorker(scanner().directory()));
    return daemon;
  }
};

TEST_F(ConfiguredStartInVain, PrintsWhereThereIsNoFile) {
  sim::Daemon& daemon = startWithDefaults();

  EXPECT_EQ(daemon.standardOutput(), contract::error::cannotOpenConfig(contract::configurationPath));
  EXPECT_EQ(daemon.standardError(), "");
}

TEST_F(ConfiguredStartInVain, IgnoresAFileWithABadLineAndNamesTheLine) {
  const std::string changesEverything =
      "[usb]\ndebug = generic\nlog_to_syslog = 1\nhid_only = 1\n"
      "[apps]\nquor_usb_rx_generic = /missing/worker\n";
  const std::string place = std::string(contract::configurationPath) + " (7)";
  for (const std::string& bad : {"nonsense"s, "[usb"s, "key = " + std::string(2000, 'v'),
                                 std::string(100'000, 'v'), "\x01\x02\xff\xfe"s}) {
    SCOPED_TRACE(bad.substr(0, 10));
    unit.writeConfig(changesEverything + bad + "\n");
    sim::Daemon& daemon = startWithDefaults();
    EXPECT_NE(daemon.standardError().find(place), std::string::npos) << daemon.standardError();
    EXPECT_EQ(daemon.standardOutput(), "");
    daemon.signal(SIGKILL);
    daemon.waitForExit();
    unit.unplug(scanner().directory());
  }
}

}  // namespace
