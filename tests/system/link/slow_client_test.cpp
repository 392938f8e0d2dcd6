#include <gtest/gtest.h>

#include <csignal>

#include "sim/files.h"
#include "system/support/control_messages.h"
#include "system/support/eventually.h"
#include "system/support/process_state.h"
#include "system/support/worker_launch.h"

namespace {

class ControlSlowClient : public WorkerLaunch {
 protected:
  /** A client that has connected and says nothing; the daemon waits for it. */
  sim::LinkManager slowClient() {
    const std::size_t before = unit.daemon().openDescriptors().size();
    sim::LinkManager client = unit.connect();
    eventually("the daemon's accept", [&] { return unit.daemon().openDescriptors().size() > before; });
    waitUntilAsleep(unit.daemon().pid());
    return client;
  }

  /** Waits until the daemon has taken every signal that was sent to it and waits again. */
  void waitUntilSignalsAreTaken() {
    eventually("a daemon without pending signals", [&] { return pendingSignals() == 0; });
    waitUntilAsleep(unit.daemon().pid());
  }

 private:
  unsigned long long pendingSignals() {
    const std::string status = sim::readFile("/proc/" + std::to_string(unit.daemon().pid()) + "/status");
    const std::string name = "ShdPnd:";
    return std::stoull(status.substr(status.find(name) + name.size()), nullptr, 16);
  }
};

bool isZombie(pid_t process) {
  const std::string status = sim::readFile("/proc/" + std::to_string(process) + "/status");
  return status.find("State:\tZ") != std::string::npos;
}

}  // namespace

TEST_F(ControlSlowClient, HoldsUpTheDaemonUntilItSpeaks) {
  startWith({});
  sim::LinkManager client = slowClient();
  unit.plug(mouse());
  client.send("host 7000 high wlan0");
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            (Arguments{"usb_rx_generic", "wlan0", "host", "7000", genericDirectory}));
}

TEST_F(ControlSlowClient, IsServedThoughAWorkerEndsMeanwhile) {
  startWith({});
  unit.plug(mouse());
  sim::Worker& worker = unit.workers.waitForWorker();
  sim::LinkManager client = slowClient();
  unit.sysfs.removeDevice(genericDirectory);
  worker.exitWith(0);
  eventually("the end of the worker", [&] { return isZombie(worker.start.pid); });
  waitUntilSignalsAreTaken();
  client.send("host 7000 high wlan0 IN OUT");
  EXPECT_EQ(askForParameters(unit), "host 7000 high wlan0 IN OUT");
}

TEST_F(ControlSlowClient, DelaysTheCollectionOfAWorkerThatEndsMeanwhile) {
  startWith({});
  unit.plug(mouse());
  sim::Worker& worker = unit.workers.waitForWorker();
  sim::LinkManager client = slowClient();
  unit.sysfs.removeDevice(genericDirectory);
  worker.exitWith(0);
  eventually("the end of the worker", [&] { return isZombie(worker.start.pid); });
  waitUntilSignalsAreTaken();
  EXPECT_EQ(unit.daemon().children(), std::vector<pid_t>{worker.start.pid});
  client.send("?");
  eventually("the collection of the worker", [&] { return unit.daemon().children().empty(); });
}

TEST_F(ControlSlowClient, IsServedThoughTheDaemonIsHungUpMeanwhile) {
  startWith({});
  sim::LinkManager client = slowClient();
  unit.daemon().signal(SIGHUP);
  waitUntilSignalsAreTaken();
  client.send("host 7000 high wlan0 IN OUT");
  EXPECT_EQ(askForParameters(unit), "host 7000 high wlan0 IN OUT");
}

TEST_F(ControlSlowClient, MayAskAfterItsSilence) {
  startWith({});
  const sim::LinkManager manager = deliver(unit, "host 7000 high wlan0 IN OUT");
  sim::LinkManager client = slowClient();
  client.send("?");
  EXPECT_EQ(client.receiveAll(), "host 7000 high wlan0 IN OUT");
}
