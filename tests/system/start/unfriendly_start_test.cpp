// A daemon whose starter leaves signals blocked or ignored, and descriptors closed.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/process_state.h"

namespace {

using support::commandLine;
using support::scanner;
using Closed = std::set<int>;

sim::ProcessOptions withSignals(const std::vector<int>& blocked, const std::vector<int>& ignored) {
  sim::ProcessOptions options;
  options.blockedSignals = blocked;
  options.ignoredSignals = ignored;
  return options;
}

sim::ProcessOptions without(const Closed& descriptors) {
  using Output = sim::ProcessOptions::Output;
  sim::ProcessOptions options;
  options.standardInput =
      descriptors.contains(0) ? sim::ProcessOptions::Input::closed : sim::ProcessOptions::Input::empty;
  options.standardOutput = descriptors.contains(1) ? Output::closed : Output::captured;
  options.standardError = descriptors.contains(2) ? Output::closed : Output::captured;
  return options;
}

class UnfriendlyStart : public support::DaemonFixture {
 protected:
  void expectEndedWorkerIsReaped() {
    sim::Worker& worker = attach(scanner());
    detachAndEnd(worker);
    waitUntilForgotten(worker);
  }

  void expectHangupReloadsThePolicy() {
    unit.writeConfig("[usb]\nhid_only = 1\n");
    unit.daemon().signal(SIGHUP);
    unit.plug(scanner());
    EXPECT_EQ(unit.display.waitForWrite(), contract::display::nonHid("Scanner") + "\n");
  }
};

TEST_F(UnfriendlyStart, MayLeaveTheSignalOfEndedChildrenBlocked) {
  start(commandLine(), withSignals({SIGCHLD}, {}));
  expectEndedWorkerIsReaped();
}

TEST_F(UnfriendlyStart, MayLeaveTheSignalOfEndedChildrenIgnored) {
  sim::Daemon& daemon = start(commandLine(), withSignals({}, {SIGCHLD}));
  expectEndedWorkerIsReaped();
  EXPECT_TRUE(support::stateOf(daemon.pid()).caughtSignals.contains(SIGCHLD));
}

TEST_F(UnfriendlyStart, MayLeaveTheHangupSignalBlocked) {
  start(commandLine(), withSignals({SIGHUP}, {}));
  expectHangupReloadsThePolicy();
}

TEST_F(UnfriendlyStart, MayLeaveTheHangupSignalIgnored) {
  start(commandLine(), withSignals({}, {SIGHUP}));
  expectHangupReloadsThePolicy();
}

class UnfriendlyStartWithout : public UnfriendlyStart, public testing::WithParamInterface<Closed> {};

TEST_P(UnfriendlyStartWithout, DescriptorsServesAndLetsThemLeadNowhere) {
  sim::Daemon& daemon = unit.startDaemon(commandLine(), without(GetParam()));
  EXPECT_EQ(support::askForParameters(unit), "");

  const sim::WorkerStart& worker = attach(scanner()).start;

  EXPECT_EQ(worker.arguments, support::genericWorker(scanner().directory()));
  for (const int number : GetParam()) {
    EXPECT_EQ(support::targetOf(daemon.pid(), number), "/dev/null");
    EXPECT_EQ(std::count(worker.descriptors.begin(), worker.descriptors.end(),
                         sim::OpenDescriptor{number, "/dev/null"}),
              1)
        << number;
  }
}

TEST_P(UnfriendlyStartWithout, DescriptorsFailsWithTheUsualStatus) {
  const sim::ProcessOptions options = without(GetParam());

  EXPECT_EQ(unit.startDaemon({}, options).waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.startDaemon({"transmitter", "bogus", "high"}, options).waitForExit(),
            sim::ProcessEnd::exited(1));
}

std::string nameOf(const testing::TestParamInfo<Closed>& info) {
  const std::vector<std::string> names = {"Input", "Output", "Error"};
  std::string name;
  for (const int number : info.param) {
    name += names.at(static_cast<std::size_t>(number));
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Standard, UnfriendlyStartWithout,
                         testing::Values(Closed{0}, Closed{1}, Closed{2}, Closed{0, 1, 2}), nameOf);

}  // namespace
