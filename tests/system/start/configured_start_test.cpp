// What the configuration file says where the command line is silent.

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"

namespace {

using Arguments = std::vector<std::string>;

const Arguments debugsToStandardError = {"--debug", "--stderr"};
const Arguments debugsToSyslog = {"--debug", "--syslog"};
const Arguments quiet = {};

struct Fallback {
  std::string name;
  std::string configuration;
  Arguments options;        ///< of the daemon
  Arguments workerOptions;  ///< of the generic worker
};

std::ostream& operator<<(std::ostream& out, const Fallback& fallback) {
  return out << fallback.name;
}

std::string section(const std::string& keys) {
  return "[usb]\n" + keys + "\n";
}

const std::vector<Fallback> debugLists = {
    {"ConfiguredDebugList", section("debug = generic"), {}, debugsToStandardError},
    {"ConfiguredListOfSeveral", section("debug = keyboard,generic"), {}, debugsToStandardError},
    {"ConfiguredNone", section("debug = none"), {}, quiet},
    {"ConfiguredEmptyList", section("debug ="), {}, quiet},
    {"OptionHidesTheConfiguredList", section("debug = generic"), {"--debug=keyboard"}, quiet},
    {"OptionOfNoneHidesTheConfiguredList", section("debug = generic"), {"--debug=none"}, quiet},
    {"EmptyOptionHidesTheConfiguredList", section("debug = generic"), {"--debug="}, quiet},
    {"OptionHidesABadConfiguredList", section("debug = bogus"), {"--debug=none"}, quiet},
    {"ClassOptionHidesNoDebugList", section("debug = generic"), {"--class=all"}, debugsToStandardError},
    {"NamesInCapitals", "[USB]\nDebug = generic\n", {}, debugsToStandardError},
    {"ValueInCapitalsOfAnotherKey", section("log = DEBUG\ndebug = generic"), {}, debugsToStandardError},
    {"KeyOfAnotherSection", "[apps]\ndebug = generic\n", {}, quiet},
    {"KeyWithoutASection", "debug = generic\n", {}, quiet},
    {"KeyBehindAnotherSection", "[apps]\nx = y\n[usb]\ndebug = generic\n", {}, debugsToStandardError},
    {"LineThatIsCommentedOut", section("# debug = generic"), {}, quiet},
};

const std::vector<Fallback> logDestinations = {
    {"SyslogByOne", section("log_to_syslog = 1"), {"--debug=generic"}, debugsToSyslog},
    {"SyslogByZero", section("log_to_syslog = 0"), {"--debug=generic"}, debugsToSyslog},
    {"SyslogByNo", section("log_to_syslog = no"), {"--debug=generic"}, debugsToSyslog},
    {"SyslogByFalse", section("log_to_syslog = false"), {"--debug=generic"}, debugsToSyslog},
    {"SyslogByAnEmptyValue", section("log_to_syslog ="), {"--debug=generic"}, debugsToSyslog},
    {"StandardErrorOptionHidesTheKey",
     section("log_to_syslog = 1"),
     {"--stderr", "--debug=generic"},
     debugsToStandardError},
    {"SyslogOptionBesideTheKey",
     section("log_to_syslog = 0"),
     {"--syslog", "--debug=generic"},
     debugsToSyslog},
    {"StandardErrorOptionBehindTheSyslogOption",
     section("log_to_syslog = 1"),
     {"--syslog", "--stderr", "--debug=generic"},
     debugsToStandardError},
    {"NoKey", section("debug = generic"), {}, debugsToStandardError},
    {"BothKeys", section("debug = generic\nlog_to_syslog = 1"), {}, debugsToSyslog},
};

class Fallbacks : public testing::TestWithParam<Fallback> {};

TEST_P(Fallbacks, ReachTheGenericWorker) {
  const Fallback& fallback = GetParam();
  sim::Unit unit;
  unit.writeConfig(fallback.configuration);
  Arguments arguments = fallback.options;
  arguments.insert(arguments.end(), {"transmitter", "5000", "high"});
  sim::Daemon& daemon = unit.startDaemon(arguments);
  unit.waitUntilServing();

  const std::string directory = unit.plug(scanner());

  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(directory, fallback.workerOptions));
  EXPECT_EQ(daemon.standardOutput(), "");
}

std::string nameOf(const testing::TestParamInfo<Fallback>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(DebugLists, Fallbacks, testing::ValuesIn(debugLists), nameOf);
INSTANTIATE_TEST_SUITE_P(LogDestinations, Fallbacks, testing::ValuesIn(logDestinations), nameOf);

TEST(Configuration, SwitchesOnTheDaemonsOwnDebugging) {
  sim::Unit unit;
  unit.writeConfig("[usb]\ndebug = ctrl\n");

  sim::Daemon& daemon = unit.startDaemon({"transmitter", "5000", "high"});

  daemon.waitForLine("[rx_ctrl] hotplugging new devices");
}

TEST(Configuration, SendsTheDaemonsOwnMessagesToSyslogByTheMerePresenceOfItsKey) {
  sim::Unit unit;
  unit.writeConfig("[usb]\nlog_to_syslog = 0\n");

  sim::Daemon& daemon = unit.startDaemon();

  unit.syslog.waitForText("[rx_ctrl] hotplugging new devices");
  EXPECT_EQ(daemon.standardError(), "");
}

TEST(Configuration, LeavesTheDestinationToTheStandardErrorOption) {
  sim::Unit unit;
  unit.writeConfig("[usb]\nlog_to_syslog = 1\n");

  sim::Daemon& daemon = unit.startDaemon({"--stderr", "--debug=ctrl", "transmitter", "5000", "high"});

  daemon.waitForLine("[rx_ctrl] hotplugging new devices");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST(Configuration, IsReadOnceAtTheStart) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();
  unit.writeConfig("[usb]\nhid_only = 1\n[apps]\nquor_usb_rx_generic = /missing/worker\n");

  const std::string directory = unit.plug(scanner());

  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(directory));
  EXPECT_TRUE(daemon.isRunning());
}

}  // namespace
