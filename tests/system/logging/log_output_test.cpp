// The form of the daemon's log lines, on standard error and in syslog.

#include <gtest/gtest.h>
#include <sys/time.h>

#include <cmath>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"

namespace {

constexpr int userDebug = 8 + 7;
constexpr int userError = 8 + 3;

const std::vector<std::string> debugToSyslog = {"--syslog", "--debug=ctrl", "transmitter", "5000", "high"};

double wallClock() {
  timeval now{};
  ::gettimeofday(&now, nullptr);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1e6;
}

TEST(StandardErrorLog, BeginsEveryLineWithSecondsOfTwoPlacesAndThreeDecimals) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();
  unit.plug(scanner());
  unit.settle();

  const std::regex line(R"(( \d|\d\d|100)\.\d{3}: \[rx_ctrl\] .+)");
  ASSERT_GE(daemon.lines().size(), 5U);
  for (const std::string& each : daemon.lines()) {
    EXPECT_TRUE(std::regex_match(each, line)) << each;
  }
}

TEST(StandardErrorLog, TellsTheWallClockModulo100Seconds) {
  constexpr double wrap = 100;
  constexpr double roundingError = 0.001;
  sim::Unit unit;
  const double before = wallClock();
  sim::Daemon& daemon = unit.startDaemon();
  daemon.waitForLine("[rx_ctrl] hotplugging new devices");
  const double after = wallClock();

  for (const std::string& line : daemon.lines()) {
    const double sinceBefore =
        std::fmod(std::stod(line) - std::fmod(before, wrap) + wrap + roundingError, wrap);
    EXPECT_LE(sinceBefore, after - before + 2 * roundingError) << line;
  }
}

TEST(StandardErrorLog, GivesAnErrorALineWithTheTimeAndAnEmptyOne) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon({"--sock=/missing/socket", "transmitter", "5000", "high"});
  daemon.waitForExit();

  const std::regex text(R"(( \d|\d\d|100)\.\d{3}: No such file or directory while bind\(\)\n\n)");
  EXPECT_TRUE(std::regex_match(daemon.standardError(), text)) << daemon.standardError();
}

TEST(StandardErrorLog, IsEmptyWithoutDebugging) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon({"--class=all", "transmitter", "5000", "full"});
  unit.waitUntilServing();

  unit.plug(scanner("1-1"));
  unit.plug(fastScanner("1-2"));
  unit.plug(sim::HiddevNode{.usbDevice = unit.plug(keyboard("1-3"))});
  unit.uevents.add("/devices/missing");
  unit.uevents.remove("/devices/missing");
  daemon.signal(SIGHUP);
  unit.settle();

  EXPECT_EQ(daemon.standardError(), "");
}

TEST(StandardErrorLog, KeepsALongMessageWhole) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  const std::string devpath = "/devices/" + std::string(20'000, 'x');

  unit.uevents.remove(devpath);

  EXPECT_EQ(daemon.waitForLine("[rx_ctrl] remove"), "[rx_ctrl] remove " + devpath);
}

TEST(StandardErrorLog, TakesPercentSignsAsTheyAre) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();

  unit.uevents.remove("/devices/%s%n%d%%");

  EXPECT_EQ(daemon.waitForLine("[rx_ctrl] remove"), "[rx_ctrl] remove /devices/%s%n%d%%");
}

TEST(SyslogLog, HasTheSameMessagesWithoutTheTime) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(debugToSyslog);

  EXPECT_EQ(unit.syslog.waitForMessage().text, "[rx_ctrl] setup signal hansler");
  EXPECT_EQ(unit.syslog.waitForMessage().text, "[rx_ctrl] coldplugging existing devices");
  EXPECT_EQ(unit.syslog.waitForMessage().text, "[rx_ctrl] hotplugging new devices");
  EXPECT_EQ(daemon.standardError(), "");
}

TEST(SyslogLog, HasDebugMessagesAtTheDebugLevelOfUserPrograms) {
  sim::Unit unit;
  unit.startDaemon(debugToSyslog);
  unit.waitUntilServing();

  for (const sim::SyslogMessage& message : unit.syslog.takeMessages()) {
    EXPECT_EQ(message.priority, userDebug) << message.raw;
    EXPECT_EQ(message.tag, "usb_rx_ctrl") << message.raw;
  }
}

TEST(SyslogLog, HasTheErrorThatEndsTheDaemonAtTheErrorLevel) {
  sim::Unit unit;
  sim::Daemon& daemon =
      unit.startDaemon({"--syslog", "--sock=/missing/socket", "transmitter", "5000", "high"});

  const sim::SyslogMessage message = unit.syslog.waitForMessage();
  EXPECT_EQ(message.priority, userError);
  EXPECT_EQ(message.text, "No such file or directory while bind()\n");
  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(daemon.standardError(), "");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST(SyslogLog, HasABadPortToo) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon({"--syslog", "transmitter", "bogus", "high"});

  const sim::SyslogMessage message = unit.syslog.waitForMessage();
  EXPECT_EQ(message.priority, userError);
  EXPECT_EQ(message.text, "bad lexical cast: source type value could not be interpreted as target\n");
  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(daemon.standardError(), "");
}

TEST(SyslogLog, TakesPercentSignsAsTheyAre) {
  sim::Unit unit;
  unit.startDaemon(debugToSyslog);
  unit.waitUntilServing();

  unit.uevents.remove("/devices/%s%n%d%%");

  EXPECT_EQ(unit.syslog.waitForText("remove").text, "[rx_ctrl] remove /devices/%s%n%d%%");
}

TEST(SyslogLog, IsEmptyWithoutDebugging) {
  sim::Unit unit;
  unit.startDaemon({"--syslog", "transmitter", "5000", "high"});
  unit.waitUntilServing();
  unit.settle();

  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST(SyslogLog, MayHaveNoListener) {
  sim::Unit unit;
  std::filesystem::remove("/dev/log");
  sim::Daemon& daemon = unit.startDaemon(debugToSyslog);
  unit.waitUntilServing();
  unit.settle();

  EXPECT_TRUE(daemon.isRunning());
  EXPECT_EQ(daemon.standardError(), "");
}

TEST(LostReaders, OfStandardErrorDoNotStopTheDaemon) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.standardError = sim::ProcessOptions::Output::BrokenPipe;
  sim::Daemon& daemon = unit.startDaemon({"--debug=ctrl", "transmitter", "5000", "high"}, options);
  sim::LinkManager client = unit.connect();
  client.send("?");

  EXPECT_EQ(client.receiveAll(), "");
  const std::string directory = unit.plug(scanner());
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(directory));
  EXPECT_TRUE(daemon.isRunning());
}

TEST(LostReaders, OfStandardErrorDoNotChangeTheStatusOfAFailure) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.standardError = sim::ProcessOptions::Output::BrokenPipe;

  EXPECT_EQ(unit.startDaemon({"transmitter", "bogus", "high"}, options).waitForExit(),
            sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.startDaemon({"--debug=bogus", "transmitter", "5000", "high"}, options).waitForExit(),
            sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.startDaemon({}, options).waitForExit(), sim::ProcessEnd::exited(1));
}

TEST(LostReaders, OfStandardOutputDoNotStopADaemonWithoutAConfiguration) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.standardOutput = sim::ProcessOptions::Output::BrokenPipe;
  unit.startDaemon({"--debug=ctrl", "transmitter", "5000", "high"}, options);

  unit.waitUntilServing();
  unit.settle();
}

}  // namespace
