// SIGHUP and the signals that the daemon leaves as they are.

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <string>

#include "sim/unit.h"
#include "system/support/attached_devices.h"
#include "system/support/process_state.h"

namespace {

TEST(Signals, AreCaughtForEndedChildrenAndHangupsOnly) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();

  const ProcessState state = stateOf(daemon.pid());
  EXPECT_TRUE(state.caughtSignals.contains(SIGCHLD));
  EXPECT_TRUE(state.caughtSignals.contains(SIGHUP));
  for (const int other : {SIGTERM, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM}) {
    EXPECT_FALSE(state.caughtSignals.contains(other)) << other;
  }
  EXPECT_EQ(state.ignoredSignals, std::set<int>{SIGPIPE});
  EXPECT_EQ(state.blockedSignals, std::set<int>{});
}

TEST(Signals, ThatAskForTheEndEndTheDaemon) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();

  daemon.signal(SIGTERM);

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::killedBy(SIGTERM));
}

TEST(Hangup, TellsThatItsHandlerIsThere) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();

  EXPECT_EQ(daemon.waitForLine("signal"), "[rx_ctrl] setup signal hansler");
}

TEST(Hangup, DoesNothingByItself) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();
  const std::size_t lines = daemon.messages().size();
  const std::string output = daemon.standardOutput();

  for (int i = 0; i < 100; ++i) {
    daemon.signal(SIGHUP);
  }
  unit.settle();

  EXPECT_EQ(daemon.messages().size(), lines + 1);
  EXPECT_EQ(daemon.standardOutput(), output);
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

TEST(Hangup, BringsAChangedPolicyToTheNextGenericDevice) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();
  unit.writeConfig("[usb]\nhid_only = 1\n");
  unit.plug(scanner("1-1"));
  unit.workers.waitForWorker();

  daemon.signal(SIGHUP);
  unit.plug(scanner("1-2"));

  EXPECT_EQ(unit.display.waitForWrite(), "Scanner is not supported because it has non-HID endpoints\n");
  unit.settle();
  EXPECT_EQ(unit.workers.count(), 1U);
}

TEST(Hangup, ReadsTheConfigurationOnceForSeveralSignals) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();
  const std::string line = "Config failed to open file '/vel/quor.conf\n";
  EXPECT_EQ(daemon.standardOutput(), line);

  daemon.signal(SIGHUP);
  daemon.signal(SIGHUP);
  unit.plug(scanner("1-1"));
  unit.plug(scanner("1-2"));
  unit.settle();

  EXPECT_EQ(daemon.standardOutput(), line + line);
}

TEST(Hangup, LeavesTheSettingsOfTheStartAsTheyAre) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();
  unit.writeConfig("[usb]\ndebug = generic,bogus\nclasses = bogus\nlog_to_syslog = 1\n");

  daemon.signal(SIGHUP);
  const std::string directory = unit.plug(scanner());

  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(directory));
  unit.settle();
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST(Hangup, DuringTheWaitForADeviceHoldsForThatDevice) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();
  sim::UsbDevice incomplete = scanner();
  incomplete.deviceClass.reset();
  const std::string directory = unit.plug(incomplete);
  daemon.waitForLine("subsystem is 'usb'");

  unit.writeConfig("[usb]\nhid_only = 1\n");
  daemon.signal(SIGHUP);
  unit.sysfs.writeAttribute(directory, "bDeviceClass", "00\n");

  EXPECT_EQ(unit.display.waitForWrite(), "Scanner is not supported because it has non-HID endpoints\n");
}

}  // namespace
