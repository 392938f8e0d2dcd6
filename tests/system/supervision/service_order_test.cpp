// In which order the daemon serves what is pending at one time.

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"
#include "system/support/process_state.h"
#include "system/support/stopped_daemon.h"

namespace {

using Lines = std::vector<std::string>;

class ServiceOrder : public testing::Test {
 protected:
  ServiceOrder() {
    unit.startDaemon();
    unit.waitUntilServing();
  }

  /** A client that delivers parameters with this host, but is not served yet. */
  sim::LinkManager& queueParameters(const std::string& host) {
    sim::LinkParameters parameters;
    parameters.host = host;
    clients.push_back(unit.connect());
    clients.back().configure(parameters);
    return clients.back();
  }

  /** The hosts that the next workers were started with, in the order of the workers' starts. */
  Lines hostsOfWorkers(std::size_t count) {
    Lines hosts;
    for (std::size_t i = 0; i < count; ++i) {
      hosts.push_back(unit.workers.waitForWorker().start.arguments[2]);
    }
    return hosts;
  }

  sim::Unit unit;
  std::list<sim::LinkManager> clients;  ///< they stay connected
};

TEST_F(ServiceOrder, TakesOneUeventThenANewClientThenTheNextUevent) {
  StoppedDaemon stopped(unit);
  unit.plug(scanner("1-1"));
  unit.plug(scanner("1-2"));
  queueParameters("newhost");

  stopped.resume();

  EXPECT_EQ(hostsOfWorkers(2), (Lines{"transmitter", "newhost"}));
}

TEST_F(ServiceOrder, TakesOneClientARound) {
  StoppedDaemon stopped(unit);
  unit.plug(scanner("1-1"));
  unit.plug(scanner("1-2"));
  unit.plug(scanner("1-3"));
  queueParameters("first");
  queueParameters("second");

  stopped.resume();

  EXPECT_EQ(hostsOfWorkers(3), (Lines{"transmitter", "first", "second"}));
}

TEST_F(ServiceOrder, HandlesAUeventBeforeTheEndOfAWorker) {
  const std::string directory = unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  StoppedDaemon stopped(unit);
  unit.uevents.add(directory.substr(sizeof("/sys") - 1));
  worker.exitWith(0);
  waitUntilEnded(worker.start.pid);

  stopped.resume();

  unit.daemon().waitForLine("[rx_ctrl] a subprocess is already handling this device");
}

TEST_F(ServiceOrder, ForgetsEndedWorkersBeforeANewClientIsServed) {
  const std::string gone = unit.plug(scanner("1-1", "Gone"));
  sim::Worker& worker = unit.workers.waitForWorker();
  unit.plug(scanner("1-2", "Here"));
  unit.workers.waitForWorker();
  StoppedDaemon stopped(unit);
  unit.sysfs.removeDevice(gone);
  worker.exitWith(0);
  waitUntilEnded(worker.start.pid);
  queueParameters("newhost");

  stopped.resume();
  settleEverySource(unit);

  EXPECT_EQ(unit.display.takeWrites(), (Lines{"Here attached\n"}));
}

TEST_F(ServiceOrder, AnnouncesADeviceWhoseUeventCameWithTheParameters) {
  StoppedDaemon stopped(unit);
  unit.plug(scanner("1-1", "New"));
  queueParameters("newhost");

  stopped.resume();
  settleEverySource(unit);

  EXPECT_EQ(unit.display.takeWrites(), (Lines{"New attached\n"}));
}

TEST_F(ServiceOrder, EndsInTheRoundInWhichAClientDeliversParametersAndLeaves) {
  StoppedDaemon stopped(unit);
  unit.uevents.remove("/devices/first");
  unit.uevents.remove("/devices/second");
  queueParameters("newhost").close();

  stopped.resume();

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
  EXPECT_TRUE(unit.daemon().hasLine("[rx_ctrl] remove /devices/first"));
  EXPECT_FALSE(unit.daemon().hasLine("[rx_ctrl] remove /devices/second"));
}

TEST_F(ServiceOrder, ServesANewClientBeforeTheEndOfTheControlConnection) {
  sim::LinkManager& old = queueParameters("oldhost");
  settleEverySource(unit);
  StoppedDaemon stopped(unit);
  old.close();
  sim::LinkManager& replacing = queueParameters("newhost");

  stopped.resume();
  settleEverySource(unit);

  EXPECT_TRUE(unit.daemon().isRunning());
  replacing.close();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
}

}  // namespace
