// Signals that come when the daemon does not wait for anything.

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"
#include "system/support/eventually.h"
#include "system/support/held_attribute.h"
#include "system/support/process_state.h"
#include "system/support/system_call_trace.h"

namespace {

void waitUntilForgotten(sim::Daemon& daemon, pid_t worker) {
  eventually("the daemon's notice of its worker's end", [&] {
    const std::vector<pid_t> children = daemon.children();
    return std::find(children.begin(), children.end(), worker) == children.end();
  });
}

/** A daemon that has given the devices that it found at its start their workers and now looks at a keyboard.
 */
class DaemonAtItsStart : public testing::Test {
 protected:
  DaemonAtItsStart() : device(unit.sysfs.add(scanner())), attribute_(plugKeyboard() + "/bInterfaceSubClass") {
    unit.startDaemon({"--debug=ctrl", "--class=keyboard", "transmitter", "5000", "high"});
    attribute_.waitForReader();
  }

  void letItServe() {
    attribute_.release("01\n");
    unit.waitUntilServing();
  }

  sim::Unit unit;
  std::string device;  ///< has a worker

 private:
  /** The directory of its interface. */
  std::string plugKeyboard() {
    const std::string node = unit.sysfs.add(sim::HiddevNode{.usbDevice = unit.sysfs.add(keyboard())});
    return node + "/device";
  }

  HeldAttribute attribute_;
};

using HangupAtTheStart = DaemonAtItsStart;
using EndedChildAtTheStart = DaemonAtItsStart;

TEST_F(HangupAtTheStart, DoesNotEndTheDaemon) {
  unit.daemon().signal(SIGHUP);
  letItServe();
  EXPECT_TRUE(unit.daemon().isRunning());
}

TEST_F(EndedChildAtTheStart, IsReapedOnceTheDaemonServes) {
  sim::Worker& worker = unit.workers.waitForWorker();
  unit.sysfs.removeDevice(device);
  worker.exitWith(0);
  waitUntilEnded(worker.start.pid);
  letItServe();
  waitUntilForgotten(unit.daemon(), worker.start.pid);
}

/** Runs on until the daemon has asked for the next ended child. */
void askForEndedChild(SystemCallTrace& trace) {
  while (trace.next().number != SYS_wait4) {
  }
  trace.next();
}

TEST(EndedChild, IsReapedAlsoWhenItEndsRightAfterTheLastLook) {
  if (const auto obstacle = SystemCallTrace::obstacle()) {
    GTEST_SKIP() << *obstacle;
  }
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();
  const std::string first = unit.plug(scanner("1-1"));
  sim::Worker& worker = unit.workers.waitForWorker();
  const std::string second = unit.plug(scanner("1-2"));
  sim::Worker& late = unit.workers.waitForWorker();
  unit.sysfs.removeDevice(first);
  unit.sysfs.removeDevice(second);
  waitUntilAsleep(daemon.pid());
  {
    SystemCallTrace trace(daemon.pid());
    worker.exitWith(0);
    askForEndedChild(trace);  // finds the first
    askForEndedChild(trace);  // finds no other
    late.exitWith(0);
    waitUntilEnded(late.start.pid);
  }
  waitUntilForgotten(daemon, late.start.pid);
}

}  // namespace
