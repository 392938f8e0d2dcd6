// What the daemon does when a child of it ends, whenever that is.

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <csignal>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"
#include "system/support/held_attribute.h"
#include "system/support/held_daemon.h"
#include "system/support/process_state.h"
#include "system/support/system_call_trace.h"

namespace {

using EndedChild = support::DaemonFixture;

/** The status of a worker that could not be executed is no such signal. */
constexpr int signalOfASpecialStatus = 42;

TEST_F(EndedChild, IsReapedWhateverEndedIt) {
  sim::Daemon& daemon = start();

  for (const int status : {0, 1, 41, 43, 255}) {
    sim::Worker& worker = attach(scanner());
    detachAndEnd(worker, status);
    waitUntilForgotten(worker);
  }
  for (const int signal : {SIGTERM, SIGKILL, SIGSEGV, SIGHUP, signalOfASpecialStatus}) {
    sim::Worker& worker = attach(scanner());
    unit.unplug(worker.device());
    worker.dieBy(signal);
    waitUntilForgotten(worker);
  }
  unit.settle();

  EXPECT_TRUE(daemon.isRunning());
}

TEST_F(EndedChild, MakesRoomForAnotherWorkerOfItsDevice) {
  sim::Daemon& daemon = start();
  sim::Worker& first = attach(scanner());
  detachAndEnd(first);
  daemon.waitForLine(contract::debug::gone(first.device()));

  EXPECT_NE(attach(scanner()).start.pid, first.start.pid);
  EXPECT_FALSE(daemon.hasLine(contract::debug::alreadyHandled));
}

TEST_F(EndedChild, IsReapedWithAllThatEndedWhileTheDaemonWasBusy) {
  sim::Daemon& daemon = start();
  std::vector<sim::Worker*> workers;
  for (const char* name : {"1-1", "1-2", "1-3", "1-4", "1-5"}) {
    workers.push_back(&attach(scanner(name)));
  }
  support::HeldDaemon held(unit);
  for (sim::Worker* worker : workers) {
    detachAndEnd(*worker);
    support::waitUntilEnded(worker->start.pid);
  }
  EXPECT_EQ(daemon.children().size(), workers.size());

  held.release();

  waitUntilAllForgotten();
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
  const std::string node = unit.sysfs.add(sim::HiddevNode{.usbDevice = unit.sysfs.add(keyboard())});
  HeldAttribute attribute(node + "/device/bInterfaceSubClass");
  sim::Daemon& daemon = unit.startDaemon(support::commandLine({"--debug=ctrl", "--class=keyboard"}));
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
  sim::Daemon& daemon = start();
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

}  // namespace
