// The form of the daemon's log lines, on standard error and in syslog.

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "sim/contract.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"

namespace {

namespace debug = contract::debug;
namespace error = contract::error;

using support::commandLine;
using support::Lines;
using support::scanner;
using Output = sim::ProcessOptions::Output;

constexpr int userDebug = 8 + 7;
constexpr int userError = 8 + 3;

/** Seconds of two places and three decimals. */
const std::string timePattern = R"(( \d|\d\d|100)\.\d{3}: )";
const Lines debugToSyslog = commandLine({"--syslog", "--debug=ctrl"});
const std::string missingDirectory = error::bindFailed(contract::reason::noSuchFile);
const std::string percentSigns = "/devices/%s%n%d%%";

using LogOutput = support::DaemonFixture;

TEST_F(LogOutput, BeginsEveryLineWithTheTimeAndTheTag) {
  sim::Daemon& daemon = start();
  attach(scanner());
  unit.settle();

  const std::regex line(timePattern + R"(\[rx_ctrl\] .+)");
  ASSERT_GE(daemon.lines().size(), 5U);
  for (const std::string& each : daemon.lines()) {
    EXPECT_TRUE(std::regex_match(each, line)) << each;
  }
}

TEST_F(LogOutput, HasALineWithTheTimeAndAnEmptyOneForAnError) {
  sim::Daemon& daemon = unit.startDaemon(commandLine({"--sock=/missing/socket"}));
  daemon.waitForExit();

  const std::string output = daemon.standardError();
  EXPECT_EQ(sim::messageOf(output), missingDirectory + "\n\n");
  EXPECT_TRUE(std::regex_search(output, std::regex("^" + timePattern))) << output;
}

TEST_F(LogOutput, IsEmptyWithoutDebugging) {
  sim::Daemon& daemon = start(commandLine({"--class=all"}, {"transmitter", "5000", "full"}));

  attach(scanner("1-1")).exitWith(1);
  unit.workers.waitForWorker();
  unit.plug(support::fastScanner("1-5"));
  attachKeyboard();
  unit.uevents.add("/devices/missing");
  unit.uevents.remove("/devices/missing");
  support::askForParameters(unit);
  daemon.signal(SIGHUP);
  unit.settle();

  EXPECT_EQ(daemon.standardError(), "");
}

TEST_F(LogOutput, KeepsLongMessagesAndPercentSignsAsTheyAre) {
  sim::Daemon& daemon = start();
  for (const std::string& devpath : {"/devices/" + std::string(20'000, 'x'), percentSigns}) {
    unit.uevents.remove(devpath);
    EXPECT_EQ(daemon.waitForLine("remove /devices"), debug::line(debug::event("remove", devpath)));
  }
}

using LogOutputToSyslog = support::DaemonFixture;

TEST_F(LogOutputToSyslog, HasTheSameMessagesWithoutTheTimeAtTheDebugLevelOfUserPrograms) {
  sim::Daemon& daemon = unit.startDaemon(debugToSyslog);

  for (const char* text : {debug::hangupHandler, debug::coldplugging, debug::hotplugging}) {
    const sim::SyslogMessage message = unit.syslog.waitForMessage();
    EXPECT_EQ(message.text, debug::line(text));
    EXPECT_EQ(message.priority, userDebug) << message.raw;
    EXPECT_EQ(message.tag, "usb_rx_ctrl") << message.raw;
  }
  unit.uevents.remove(percentSigns);
  EXPECT_EQ(unit.syslog.waitForMessage().text, debug::line(debug::event("remove", percentSigns)));
  EXPECT_EQ(daemon.standardError(), "");
}

TEST_F(LogOutputToSyslog, HasTheErrorThatEndsTheDaemonAtTheErrorLevel) {
  for (const auto& [arguments, text] :
       {std::pair(commandLine({"--syslog", "--sock=/missing/socket"}), missingDirectory),
        std::pair(commandLine({"--syslog"}, {"transmitter", "bogus", "high"}),
                  std::string(error::badNumber))}) {
    sim::Daemon& daemon = unit.startDaemon(arguments);
    const sim::SyslogMessage message = unit.syslog.waitForMessage();
    EXPECT_EQ(message.priority, userError);
    EXPECT_EQ(message.text, text + "\n");
    EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
    EXPECT_EQ(daemon.standardError(), "");
    EXPECT_TRUE(unit.syslog.takeMessages().empty());
  }
}

TEST_F(LogOutputToSyslog, MayHaveNoListener) {
  std::filesystem::remove("/dev/log");
  sim::Daemon& daemon = start(debugToSyslog);
  unit.settle();

  EXPECT_TRUE(daemon.isRunning());
  EXPECT_EQ(daemon.standardError(), "");
}

class LogOutputWithoutAReader : public support::DaemonFixture {
 protected:
  sim::ProcessOptions world;
};

TEST_F(LogOutputWithoutAReader, OnStandardErrorDoesNotStopTheDaemon) {
  world.standardError = Output::brokenPipe;
  sim::Daemon& daemon = unit.startDaemon(commandLine(), world);

  EXPECT_EQ(support::askForParameters(unit), "");
  EXPECT_EQ(attach(scanner()).start.arguments, support::genericWorker(scanner().directory()));
  EXPECT_TRUE(daemon.isRunning());
}

TEST_F(LogOutputWithoutAReader, OnStandardErrorDoesNotChangeTheStatusOfAFailure) {
  world.standardError = Output::brokenPipe;
  for (const Lines& arguments :
       {commandLine({}, {"transmitter", "bogus", "high"}), commandLine({"--debug=bogus"}), Lines{}}) {
    EXPECT_EQ(unit.startDaemon(arguments, world).waitForExit(), sim::ProcessEnd::exited(1));
  }
}

TEST_F(LogOutputWithoutAReader, OnStandardOutputDoesNotStopADaemonWithoutAConfiguration) {
  world.standardOutput = Output::brokenPipe;
  start(commandLine(), world);
  unit.settle();
}

}  // namespace
