// A daemon started by somebody who leaves signals blocked or ignored, and descriptors closed.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <set>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"
#include "system/support/eventually.h"
#include "system/support/process_state.h"

namespace {

using Output = sim::ProcessOptions::Output;
using Input = sim::ProcessOptions::Input;

const std::vector<std::string> debugging = {"--debug=ctrl", "transmitter", "5000", "high"};

/** Lets a worker end whose device has gone, and waits until the daemon has taken notice. */
void expectEndedWorkerIsReaped(sim::Unit& unit) {
  const sim::Daemon& daemon = unit.daemon();
  const std::string directory = unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  unit.unplug(directory);
  worker.exitWith(0);
  eventually("the daemon's notice of its worker's end", [&] { return daemon.children().empty(); });
}

TEST(UnfriendlyStart, MayLeaveTheSignalOfEndedChildrenBlocked) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.blockedSignals = {SIGCHLD};
  unit.startDaemon(debugging, options);
  unit.waitUntilServing();

  expectEndedWorkerIsReaped(unit);
}

TEST(UnfriendlyStart, MayLeaveTheSignalOfEndedChildrenIgnored) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.ignoredSignals = {SIGCHLD};
  sim::Daemon& daemon = unit.startDaemon(debugging, options);
  unit.waitUntilServing();

  expectEndedWorkerIsReaped(unit);
  EXPECT_TRUE(stateOf(daemon.pid()).caughtSignals.contains(SIGCHLD));
}

TEST(UnfriendlyStart, MayLeaveTheHangupSignalBlocked) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.blockedSignals = {SIGHUP};
  sim::Daemon& daemon = unit.startDaemon(debugging, options);
  unit.waitUntilServing();
  unit.writeConfig("[usb]\nhid_only = 1\n");

  daemon.signal(SIGHUP);
  unit.plug(scanner());

  EXPECT_EQ(unit.display.waitForWrite(), "Scanner is not supported because it has non-HID endpoints\n");
}

TEST(UnfriendlyStart, MayLeaveTheHangupSignalIgnored) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.ignoredSignals = {SIGHUP};
  sim::Daemon& daemon = unit.startDaemon(debugging, options);
  unit.waitUntilServing();
  unit.writeConfig("[usb]\nhid_only = 1\n");

  daemon.signal(SIGHUP);
  unit.plug(scanner());

  EXPECT_EQ(unit.display.waitForWrite(), "Scanner is not supported because it has non-HID endpoints\n");
}

TEST(UnfriendlyStart, LeavesNoTraceInTheSignalsOfWorkers) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.blockedSignals = {SIGCHLD, SIGHUP, SIGTERM, SIGUSR1};
  options.ignoredSignals = {SIGPIPE, SIGTERM, SIGINT};
  unit.startDaemon(debugging, options);
  unit.waitUntilServing();

  unit.plug(scanner());
  const sim::WorkerStart& start = unit.workers.waitForWorker().start;

  EXPECT_EQ(start.blockedSignals, std::set<int>{});
  EXPECT_EQ(start.ignoredSignals, std::set<int>{});
  EXPECT_EQ(start.caughtSignals, std::set<int>{});
}

bool contains(const std::vector<sim::OpenDescriptor>& all, const sim::OpenDescriptor& one) {
  return std::find(all.begin(), all.end(), one) != all.end();
}

/** Checks that the daemon serves its sources, and that its standard descriptors lead nowhere else. */
void expectServiceWithout(sim::Unit& unit, const std::set<int>& closed) {
  const sim::Daemon& daemon = unit.daemon();
  sim::LinkManager client = unit.connect();
  client.send("?");
  EXPECT_EQ(client.receiveAll(), "");

  const std::string directory = unit.plug(scanner());
  const sim::WorkerStart& start = unit.workers.waitForWorker().start;

  EXPECT_EQ(start.arguments, genericWorker(directory));
  for (const int number : closed) {
    EXPECT_EQ(targetOf(daemon.pid(), number), "/dev/null");
    EXPECT_TRUE(contains(start.descriptors, {number, "/dev/null"})) << number;
  }
}

TEST(UnfriendlyStart, MayLeaveStandardInputClosed) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.standardInput = Input::Closed;
  unit.startDaemon(debugging, options);

  expectServiceWithout(unit, {0});
}

TEST(UnfriendlyStart, MayLeaveStandardOutputClosed) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.standardOutput = Output::Closed;
  unit.startDaemon(debugging, options);

  expectServiceWithout(unit, {1});
}

TEST(UnfriendlyStart, MayLeaveStandardErrorClosed) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.standardError = Output::Closed;
  unit.startDaemon(debugging, options);

  expectServiceWithout(unit, {2});
}

TEST(UnfriendlyStart, MayLeaveAllThreeClosed) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.standardInput = Input::Closed;
  options.standardOutput = Output::Closed;
  options.standardError = Output::Closed;
  unit.startDaemon(debugging, options);

  expectServiceWithout(unit, {0, 1, 2});
}

TEST(UnfriendlyStart, FailsWithTheSameStatusWithoutStandardDescriptors) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.standardInput = Input::Closed;
  options.standardOutput = Output::Closed;
  options.standardError = Output::Closed;

  EXPECT_EQ(unit.startDaemon({}, options).waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.startDaemon({"transmitter", "bogus", "high"}, options).waitForExit(),
            sim::ProcessEnd::exited(1));
}

}  // namespace
