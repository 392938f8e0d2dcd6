// What the whole daemon does when workers end.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "system/support/attached_devices.h"
#include "system/support/eventually.h"
#include "system/support/hotplug.h"
#include "system/support/last_words.h"
#include "system/support/process_state.h"
#include "system/support/stopped_daemon.h"

namespace {

const std::string waitMessage = "<0>Scanner cannot be attached until Transmitter available\n";

std::string ended(const sim::Worker& worker) {
  return "subprocess " + std::to_string(worker.start.pid) + " has terminated";
}

class Supervision : public Hotplug {
 protected:
  void endWith(sim::Worker& worker, int status, const std::string& lastLine) {
    worker.exitWith(status);
    unit.daemon().waitForLine(lastLine);
  }
  /** What the daemon says when the next worker fails, up to the number of restarts so far. */
  std::string restartOfNext() {
    unit.workers.waitForWorker().exitWith(1);
    const std::string line = unit.daemon().waitForLine("still present; restarting ");
    return line.substr(line.rfind(' ') + 1);
  }
  /** Delivers link parameters, for the daemon to take up when it comes to it; the connection stays. */
  void send(const std::string& speed) {
    managers.push_back(std::make_unique<sim::LinkManager>(unit.connect()));
    sim::LinkParameters parameters;
    parameters.speed = speed;
    managers.back()->configure(parameters);
  }
  /** The same, and waits until it has taken them up. */
  void deliver(const std::string& speed) {
    send(speed);
    settleEverySource(unit);
  }

  std::vector<std::unique_ptr<sim::LinkManager>> managers;
};

TEST_F(Supervision, RestartsAWorkerWhoseDeviceIsStillThere) {
  start();
  const std::string device = unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  const Messages said = during([&] { endWith(worker, 3, "still present; restarting 1"); });
  Messages expected =
      rxCtrl({ended(worker), "  exited with status 3", "device " + device + " still present; sleep again",
              "device " + device + " still present; sleep again",
              "device " + device + " still present; restarting 1"});
  const Messages again = genericDevice(device);
  expected.insert(expected.end(), again.begin(), again.end());
  EXPECT_EQ(said, expected);
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(device));
}

TEST_F(Supervision, SeesThatTheDeviceOfAWorkerHasGone) {
  start();
  const std::string device = unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  unit.unplug(device);
  unit.settle();
  const Messages said = during([&] {
    worker.dieBy(SIGKILL);
    unit.daemon().waitForLine("has gone");
  });
  EXPECT_EQ(said, rxCtrl({ended(worker), "  terminated due to signal 9", "device " + device + " has gone"}));
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_F(Supervision, GivesADeviceUpThatCannotBeConfigured) {
  start();
  unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  const Messages said = during([&] { endWith(worker, 5, "exited with status 5"); });
  EXPECT_EQ(said, rxCtrl({ended(worker), "  exited with status 5"}));
  EXPECT_EQ(unit.display.waitForWrite(),
            "<0>Scanner cannot be configured; please remove any intermediate hubs and/or device\n");
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_F(Supervision, SaysNothingWithoutDebugging) {
  unit.startDaemon({"transmitter", "5000", "high"});
  unit.waitUntilServing();
  unit.plug(scanner());
  unit.workers.waitForWorker().exitWith(1);
  unit.workers.waitForWorker().exitWith(28);
  unit.workers.waitForWorker();
  EXPECT_EQ(unit.daemon().standardError(), "");
}

/** A scanner that has been attached, and whose worker fails as soon as it is started. */
class FailingScanner : public Supervision {
 protected:
  FailingScanner() {
    start();
    deliver("high");
    device = unit.plug(scanner());
  }

  /** Lets its worker fail until it waits for the Transmitter. */
  void failUntilItWaits() {
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(unit.display.waitForWrite(), "Scanner attached\n");
      restartOfNext();
    }
    EXPECT_EQ(unit.display.waitForWrite(), waitMessage);
  }
  /** The worker that is started next, which is to be told how long to wait. */
  sim::Worker& waitingWorker() {
    sim::Worker& worker = unit.workers.waitForWorker();
    EXPECT_EQ(worker.start.arguments, genericWorker(device, {"--timeout", "10"}));
    return worker;
  }

  std::string device;
};

TEST_F(FailingScanner, IsCountedByTwo) {
  for (const char* count : {"1", "3", "5", "7", "9", "11"}) {
    EXPECT_EQ(restartOfNext(), count);
  }
}

TEST_F(FailingScanner, WaitsForTheTransmitterAfterFiveFailures) {
  failUntilItWaits();
  endWith(waitingWorker(), 28, "RxGeneric exited due to timeout");
  EXPECT_EQ(unit.display.waitForWrite(), waitMessage);
  waitingWorker();
}

TEST_F(FailingScanner, WaitsUntilItFailsAfterNewParameters) {
  failUntilItWaits();
  sim::Worker& waiting = waitingWorker();
  deliver("high");
  EXPECT_EQ(unit.display.waitForWrite(), "Scanner attached\n");
  endWith(waiting, 28, "still present; restarting 10");
  EXPECT_EQ(unit.display.waitForWrite(), waitMessage);
  endWith(waitingWorker(), 1, "still present; restarting 0");
  EXPECT_EQ(unit.display.waitForWrite(), "Scanner attached\n");
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(device));
}

TEST_F(Supervision, HasNoPatienceWhereTheConfiguredTimeoutIsNoNumber) {
  sim::Unit::writeConfig("[usb]\nconnect_fail_timeout = abc\n");
  start();
  unit.plug(scanner());
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(restartOfNext(), "0");
  }
}

TEST_F(Supervision, OffersARestartedDeviceToTheChangedPolicy) {
  start();
  unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  sim::Unit::writeConfig("[usb]\nhid_only = 1\n");
  unit.daemon().signal(SIGHUP);
  endWith(worker, 1, kind::unsupported);
  EXPECT_EQ(unit.display.waitForWrite(), "Scanner is not supported because it has non-HID endpoints\n");
  unit.settle();
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_F(Supervision, OffersADeviceThatTheSlowerLinkCannotCarryInVain) {
  start();
  deliver("high");
  unit.plug(fastScanner());
  unit.workers.waitForWorker();
  EXPECT_EQ(unit.display.waitForWrite(), "Fast Scanner attached\n");
  send("full");
  unit.daemon().waitForLine("  terminated due to signal 15");
  unit.daemon().waitForLine(kind::unsupported);
  EXPECT_EQ(unit.display.waitForWrite(),
            "High speed Fast Scanner is not supported on a full speed only port\n");
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_F(Supervision, EndsWithTheDaemonWhereADeviceCannotBeLookedFor) {
  start();
  const std::string device = unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  const std::string hub = scanner().parent;
  unit.sysfs.removeDevice(hub);
  unit.sysfs.makeLink(hub, "usb1");
  worker.exitWith(1);
  EXPECT_EQ(lastWordsOf(unit.daemon()), "Too many levels of symbolic links while stat(" + device + ")");
}

class ManyWorkers : public Supervision {
 protected:
  ManyWorkers() {
    start();
    descriptorsBefore = unit.daemon().openDescriptors();
    for (int i = 1; i <= count; ++i) {
      directories.push_back(unit.plug(scanner("1-" + std::to_string(i))));
    }
    for (int i = 0; i < count; ++i) {
      workers.push_back(&unit.workers.waitForWorker());
    }
  }

  /** Takes out all devices and ends all workers before the daemon sees any of that. */
  void endTogether() {
    StoppedDaemon stopped(unit);
    for (const std::string& directory : directories) {
      unit.unplug(directory);
    }
    for (sim::Worker* worker : workers) {
      worker->exitWith(0);
      waitUntilEnded(worker->start.pid);
    }
    stopped.resume();
  }
  std::ptrdiff_t goneDevices() {
    const Messages messages = unit.daemon().messages();
    return std::count_if(messages.begin(), messages.end(),
                         [](const std::string& message) { return message.ends_with(" has gone"); });
  }

  static constexpr int count = 200;
  std::vector<int> descriptorsBefore;
  std::vector<std::string> directories;
  std::vector<sim::Worker*> workers;
};

TEST_F(ManyWorkers, ThatEndTogetherLeaveNothing) {
  constexpr double enough = 40;  // seconds: each device is looked after for 50 ms
  EXPECT_EQ(unit.daemon().children().size(), static_cast<std::size_t>(count));
  endTogether();
  eventually(
      "no child of the daemon", [&] { return unit.daemon().children().empty(); }, sim::Deadline(enough));
  settleEverySource(unit);
  EXPECT_EQ(unit.daemon().openDescriptors(), descriptorsBefore);
  EXPECT_EQ(goneDevices(), count);
  const std::string device = unit.plug(scanner("1-200"));
  EXPECT_EQ(unit.workers.waitForWorker().device(), device);
}

}  // namespace
