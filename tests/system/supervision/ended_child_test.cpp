// What the daemon does when a child of it ends, whenever that is.

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <csignal>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "support/held_attribute.h"
#include "support/system_call_trace.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/process_state.h"
#include "system/support/stopped_daemon.h"

namespace {

using support::scanner;

using EndedChild = support::DaemonFixture;

/** The status of a worker that could not be executed. As the number of a signal it has no such meaning. */
constexpr int cannotExecute = 42;

TEST_F(EndedChild, IsReapedWhateverEndedIt) {
  sim::Daemon& daemon = start();

  for (const int status : {0, 1, 41, 43, 255}) {
    sim::Worker& worker = attach(scanner());
    detachAndEnd(worker, status);
    daemon.waitForLine(contract::debug::gone(worker.device()));
  }
  for (const int signal : {SIGTERM, SIGKILL, SIGSEGV, SIGHUP, cannotExecute}) {
    sim::Worker& worker = attach(scanner());
    unit.unplug(worker.device());
    worker.dieBy(signal);
    daemon.waitForLine(contract::debug::gone(worker.device()));
  }
  unit.settle();

  EXPECT_TRUE(daemon.children().empty());
  EXPECT_FALSE(daemon.hasLine(contract::debug::alreadyHandled));
  EXPECT_TRUE(daemon.isRunning());
}

TEST_F(EndedChild, IsNoneThatStopsAndGoesOn) {
  sim::Daemon& daemon = start();
  const pid_t worker = attach(scanner()).start.pid;
  support::settleEverySource(unit);
  support::waitUntilAsleep(daemon.pid());
  const auto before = support::contextSwitchesOf(daemon.pid());

  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(::kill(worker, SIGSTOP), 0);
    support::waitUntilStopped(worker);
    ASSERT_EQ(::kill(worker, SIGCONT), 0);
    support::waitUntilAsleep(worker);
  }

  support::waitUntilAsleep(daemon.pid());
  EXPECT_EQ(support::contextSwitchesOf(daemon.pid()), before);
}

TEST_F(EndedChild, IsReapedAlsoWhenItEndsBeforeTheDaemonServes) {
  const std::string device = unit.sysfs.add(scanner());
  const std::string node = unit.sysfs.add(sim::HiddevNode{.usbDevice = unit.sysfs.add(support::keyboard())});
  support::HeldAttribute attribute(node + "/device/bInterfaceSubClass");
  const sim::Daemon& daemon = unit.startDaemon(support::commandLine({"--debug=ctrl", "--class=keyboard"}));
  attribute.waitForReader();  // the scanner has its worker

  daemon.signal(SIGHUP);  // does no harm
  sim::Worker& worker = unit.workers.waitForWorker();
  unit.sysfs.removeDevice(device);
  worker.exitWith(0);
  support::waitUntilEnded(worker.start.pid);
  attribute.release("01\n");

  unit.waitUntilServing();
  waitUntilForgotten(worker);
}

/** Runs on until the daemon has asked for the next ended child. */
void askForEndedChild(support::SystemCallTrace& trace) {
  while (trace.next().number != SYS_wait4) {
  }
  trace.next();
}

TEST_F(EndedChild, IsReapedAlsoWhenItEndsRightAfterTheLastLook) {
  if (const auto obstacle = support::SystemCallTrace::obstacle()) {
    GTEST_SKIP() << *obstacle;
  }
  const sim::Daemon& daemon = start();
  sim::Worker& first = attach(scanner("1-1"));
  sim::Worker& late = attach(scanner("1-2"));
  unit.sysfs.removeDevice(first.device());
  unit.sysfs.removeDevice(late.device());
  support::waitUntilAsleep(daemon.pid());
  {
    support::SystemCallTrace trace(daemon.pid());
    first.exitWith(0);
    askForEndedChild(trace);  // finds the first
    askForEndedChild(trace);  // finds no other
    late.exitWith(0);
    support::waitUntilEnded(late.start.pid);
  }
  waitUntilForgotten(late);
}

using EndedChildThatCouldNotBeExecuted = support::DaemonFixture;

TEST_F(EndedChildThatCouldNotBeExecuted, EndsTheDaemonWithoutAWordUnlessItDebugs) {
  sim::ProcessOptions world;
  world.environment = {"PATH=/vel/empty"};
  sim::Daemon& daemon = start(support::commandLine({}), world);

  unit.plug(scanner());

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(daemon.standardError(), "");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST_F(EndedChildThatCouldNotBeExecuted, EndsADaemonThatWaitsForAControlClient) {
  sim::Daemon& daemon = start();
  sim::Worker& worker = attach(scanner());
  const sim::LinkManager slow = support::silentClient(unit);

  worker.exitWith(cannotExecute);

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(daemon.messages().back() + "\n", contract::error::execFailed);
}

// Of two signals that are pending together, the system keeps the first: it says nothing of the second child.
TEST_F(EndedChildThatCouldNotBeExecuted, EndsTheDaemonAlsoWhereItsSignalIsLost) {
  sim::Daemon& daemon = start();
  sim::Worker& first = attach(scanner("1-1"));
  sim::Worker& second = attach(scanner("1-2"));
  support::StoppedDaemon stopped(unit);
  first.exitWith(0);
  support::waitUntilEnded(first.start.pid);
  second.exitWith(cannotExecute);
  support::waitUntilEnded(second.start.pid);

  stopped.resume();

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(daemon.messages().back() + "\n", contract::error::execFailed);
  EXPECT_TRUE(daemon.hasLine(contract::debug::terminated(first.start.pid)));
  EXPECT_FALSE(daemon.hasLine(contract::debug::terminated(second.start.pid)));
}

}  // namespace
