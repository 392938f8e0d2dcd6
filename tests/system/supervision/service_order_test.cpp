// In which order the daemon serves what is pending at one time.

#include <gtest/gtest.h>

#include <string>

#include "sim/contract.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"
#include "system/support/process_state.h"
#include "system/support/stopped_daemon.h"

namespace {

namespace debug = contract::debug;

using support::Lines;
using support::linkLine;
using support::scanner;
using support::StoppedDaemon;
using support::writes;

class ServiceOrder : public support::DaemonFixture {
 protected:
  ServiceOrder() { start(); }

  /** The hosts that the next workers were started with, in the order of their starts. */
  Lines hostsOfWorkers(std::size_t count) {
    Lines hosts;
    while (hosts.size() < count) {
      hosts.push_back(unit.workers.waitForWorker().start.arguments[2]);
    }
    return hosts;
  }
};

TEST_F(ServiceOrder, IsOneUeventThenOneClientThenTheNextOfBoth) {
  StoppedDaemon stopped(unit);
  unit.plug(scanner("1-1"));
  unit.plug(scanner("1-2"));
  unit.plug(scanner("1-3"));
  send(linkLine("high", "first"));
  send(linkLine("high", "second"));

  stopped.resume();

  EXPECT_EQ(hostsOfWorkers(3), (Lines{"transmitter", "first", "second"}));
}

TEST_F(ServiceOrder, HasAUeventBeforeTheEndOfAWorker) {
  sim::Worker& worker = attach(scanner());
  StoppedDaemon stopped(unit);
  unit.plug(scanner());
  worker.exitWith(0);
  support::waitUntilEnded(worker.start.pid);

  stopped.resume();

  unit.daemon().waitForLine(debug::line(debug::alreadyHandled));
  unit.daemon().waitForLine(debug::line(debug::terminated(worker.start.pid)));
}

TEST_F(ServiceOrder, HasEndedWorkersBeforeANewClient) {
  sim::Worker& worker = attach(scanner("1-1", "Gone"));
  attach(scanner("1-2", "Here"));
  StoppedDaemon stopped(unit);
  unit.sysfs.removeDevice(worker.device());
  worker.exitWith(0);
  support::waitUntilEnded(worker.start.pid);
  send();

  stopped.resume();
  support::settleEverySource(unit);

  EXPECT_EQ(unit.display.takeWrites(), writes({contract::display::attached("Here")}));
}

TEST_F(ServiceOrder, EndsInTheRoundInWhichAClientDeliversParametersAndLeaves) {
  StoppedDaemon stopped(unit);
  unit.uevents.remove("/devices/first");
  unit.uevents.remove("/devices/second");
  send().close();

  stopped.resume();

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
  EXPECT_TRUE(unit.daemon().hasLine(debug::line(debug::event("remove", "/devices/first"))));
  EXPECT_FALSE(unit.daemon().hasLine(debug::line(debug::event("remove", "/devices/second"))));
}

TEST_F(ServiceOrder, HasANewClientBeforeTheEndOfTheControlConnection) {
  sim::LinkManager& old = deliver();
  StoppedDaemon stopped(unit);
  old.close();
  sim::LinkManager& replacing = send();

  stopped.resume();
  support::settleEverySource(unit);

  EXPECT_TRUE(unit.daemon().isRunning());
  replacing.close();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
}

}  // namespace
