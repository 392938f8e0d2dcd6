// What the daemon does when one of its children ends.

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"
#include "system/support/eventually.h"
#include "system/support/held_daemon.h"
#include "system/support/process_state.h"
#include "system/support/stopped_daemon.h"

namespace {

constexpr int cannotExecute = 42;
const std::string cannotExecuteLine = "[RxCtrl] *** subprocess exec() failed; maybe not found? ***";

const std::vector<std::string> debugging = {"--debug=ctrl", "--class=all", "transmitter", "5000", "high"};
const std::vector<std::string> silent = {"--class=all", "transmitter", "5000", "high"};

sim::ProcessOptions withoutWorkersOnPath() {
  sim::ProcessOptions options;
  options.environment = {"PATH=/vel/empty"};
  return options;
}

void waitUntilForgotten(sim::Daemon& daemon, pid_t worker) {
  eventually("the daemon's notice of its worker's end", [&] {
    const std::vector<pid_t> children = daemon.children();
    return std::find(children.begin(), children.end(), worker) == children.end();
  });
}

TEST(EndedChild, IsReapedWhateverItsStatus) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(debugging);
  unit.waitUntilServing();

  for (const int status : {0, 1, 41, 43, 255}) {
    const std::string directory = unit.plug(scanner());
    sim::Worker& worker = unit.workers.waitForWorker();
    unit.unplug(directory);
    worker.exitWith(status);
    waitUntilForgotten(daemon, worker.start.pid);
  }
  EXPECT_TRUE(daemon.isRunning());
}

TEST(EndedChild, IsReapedWhateverSignalEndedIt) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(debugging);
  unit.waitUntilServing();

  for (const int signal : {SIGTERM, SIGKILL, SIGSEGV, SIGHUP}) {
    const std::string directory = unit.plug(scanner());
    sim::Worker& worker = unit.workers.waitForWorker();
    unit.unplug(directory);
    worker.dieBy(signal);
    waitUntilForgotten(daemon, worker.start.pid);
  }
  EXPECT_TRUE(daemon.isRunning());
}

TEST(EndedChild, MakesRoomForAnotherWorkerOfItsDevice) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(debugging);
  unit.waitUntilServing();
  const std::string directory = unit.plug(scanner());
  sim::Worker& first = unit.workers.waitForWorker();
  unit.unplug(directory);
  first.exitWith(0);
  daemon.waitForLine("device " + directory + " has gone");

  unit.plug(scanner());

  EXPECT_NE(unit.workers.waitForWorker().start.pid, first.start.pid);
  EXPECT_FALSE(daemon.hasLine("a subprocess is already handling this device"));
}

/** Five workers whose devices can be taken out and which then end, all at one time. */
class SeveralEndedChildren : public testing::Test {
 protected:
  SeveralEndedChildren() {
    unit.startDaemon(debugging);
    unit.waitUntilServing();
    for (const char* name : {"1-1", "1-2", "1-3", "1-4", "1-5"}) {
      directories.push_back(unit.plug(scanner(name)));
      workers.push_back(&unit.workers.waitForWorker());
    }
  }

  void endAll() {
    for (std::size_t i = 0; i < workers.size(); ++i) {
      unit.unplug(directories[i]);
      workers[i]->exitWith(0);
      waitUntilEnded(workers[i]->start.pid);
    }
    EXPECT_EQ(unit.daemon().children().size(), workers.size());
  }

  void expectAllReaped() {
    eventually("no child of the daemon", [&] { return unit.daemon().children().empty(); });
  }

  sim::Unit unit;
  std::vector<std::string> directories;
  std::vector<sim::Worker*> workers;
};

TEST_F(SeveralEndedChildren, AreAllReapedWhenTheyEndWhileTheDaemonIsBusy) {
  HeldDaemon held(unit);
  endAll();

  held.release();

  expectAllReaped();
}

TEST_F(SeveralEndedChildren, AreAllReapedWhenTheirSignalsComeAsOne) {
  StoppedDaemon stopped(unit);
  endAll();

  stopped.resume();

  expectAllReaped();
}

TEST(EndedChild, DoesNotDisturbTheReadingOfASlowControlClient) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(debugging);
  unit.waitUntilServing();
  const std::string directory = unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  unit.unplug(directory);

  HeldDaemon held(unit);
  worker.exitWith(0);
  waitUntilEnded(worker.start.pid);
  daemon.signal(SIGHUP);
  waitUntilAsleep(daemon.pid());
  held.release();

  unit.settle();
  EXPECT_TRUE(daemon.isRunning());
}

TEST(StoppedChild, DoesNotWakeTheDaemon) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(debugging);
  unit.waitUntilServing();
  unit.plug(scanner());
  const pid_t worker = unit.workers.waitForWorker().start.pid;
  settleEverySource(unit);
  waitUntilAsleep(daemon.pid());
  const auto before = contextSwitchesOf(daemon.pid());

  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(::kill(worker, SIGSTOP), 0);
    waitUntilStopped(worker);
    ASSERT_EQ(::kill(worker, SIGCONT), 0);
    waitUntilAsleep(worker);
  }

  waitUntilAsleep(daemon.pid());
  EXPECT_EQ(contextSwitchesOf(daemon.pid()), before);
}

TEST(WorkerThatCannotBeExecuted, EndsTheDaemonWithStatusOneAndALineInDebugging) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(debugging, withoutWorkersOnPath());
  unit.waitUntilServing();

  const std::string directory = unit.plug(scanner());

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_TRUE(daemon.standardError().ends_with("\n" + cannotExecuteLine + "\n")) << daemon.standardError();
  EXPECT_TRUE(daemon.hasLine("[rx_ctrl] starting usb_rx_generic for " + directory));
}

TEST(WorkerThatCannotBeExecuted, EndsTheDaemonWithoutAWordOtherwise) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(silent, withoutWorkersOnPath());
  unit.waitUntilServing();

  unit.plug(scanner());

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(daemon.standardError(), "");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST(WorkerThatCannotBeExecuted, IsToldOnStandardErrorAlsoWhenTheLogGoesToSyslog) {
  sim::Unit unit;
  sim::Daemon& daemon =
      unit.startDaemon({"--syslog", "--debug=ctrl", "transmitter", "5000", "high"}, withoutWorkersOnPath());
  unit.waitUntilServing();

  unit.plug(scanner());

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(daemon.standardError(), cannotExecuteLine + "\n");
  for (const sim::SyslogMessage& message : unit.syslog.takeMessages()) {
    EXPECT_EQ(message.text.find("***"), std::string::npos) << message.text;
  }
}

TEST(WorkerThatCannotBeExecuted, EndsTheDaemonForAKeyboard) {
  sim::Unit unit;
  unit.startDaemon(silent, withoutWorkersOnPath());
  unit.waitUntilServing();
  unit.plug(sim::HiddevNode{.usbDevice = unit.plug(keyboard())});
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

TEST(WorkerThatCannotBeExecuted, EndsTheDaemonForADisk) {
  sim::Unit unit;
  unit.startDaemon({"--class=scsi", "transmitter", "5000", "high"}, withoutWorkersOnPath());
  unit.waitUntilServing();
  unit.plug(sim::ScsiGenericNode{.usbDevice = unit.plug(disk())});
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

TEST(WorkerThatCannotBeExecuted, MayBeTheOneThatTheConfigurationNames) {
  sim::Unit unit;
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /missing/worker\n");
  sim::Daemon& daemon = unit.startDaemon(debugging);
  unit.waitUntilServing();

  unit.plug(scanner());

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(daemon.messages().back(), cannotExecuteLine);
}

TEST(WorkerThatCannotBeExecuted, EndsTheDaemonWhileItWaitsForAControlClient) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(silent);
  unit.waitUntilServing();
  unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  // cppcheck-suppress unreadVariable
  const HeldDaemon held(unit);

  worker.exitWith(cannotExecute);

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
}

TEST(WorkerThatCannotBeExecuted, IsKnownByItsExitStatusAlone) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(debugging);
  unit.waitUntilServing();
  unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();

  worker.exitWith(cannotExecute);

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(daemon.messages().back(), cannotExecuteLine);
}

TEST(WorkerThatCannotBeExecuted, IsNotOneThatDiesByASignalOfTheSameNumber) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon(debugging);
  unit.waitUntilServing();
  const std::string directory = unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  unit.unplug(directory);

  worker.dieBy(cannotExecute);
  waitUntilForgotten(daemon, worker.start.pid);

  unit.settle();
  EXPECT_TRUE(daemon.isRunning());
}

}  // namespace
