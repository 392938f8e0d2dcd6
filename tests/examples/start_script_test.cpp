// The start script of a unit with BusyBox: what it starts, starts anew and stops.

#include <gtest/gtest.h>

#include <string>

#include "examples/scripted_unit.h"
#include "sim/files.h"
#include "sim/link_manager.h"

namespace {

constexpr int notRunning = 3;
constexpr int startedAgain = 1;

class StartScript : public examples::ScriptedUnit {
 protected:
  /** The next report of the supervisor about an end of the daemon. */
  std::string nextEnd() { return unit.syslog.waitForText("; it starts again in ").text; }
  /** Returns when it has gone, which takes a moment. */
  void killSupervisor() {
    script->shell(
        "read -r pid </var/run/usb_rx_ctrl.supervisor.pid; kill -KILL $pid; "
        "while kill -0 $pid 2>/dev/null; do sleep 0.01; done");
  }
  int supervisors() { return countProcesses("supervise"); }
};

TEST_F(StartScript, StartsOneDaemonHoweverOftenItIsCalled) {
  const pid_t daemon = start();
  EXPECT_NE(call("start").find("runs already"), std::string::npos);
  EXPECT_EQ(script->daemon(), daemon);
  EXPECT_EQ(supervisors(), 1);
  EXPECT_EQ(call("status"), "usb_rx_ctrl runs: daemon " + std::to_string(daemon) + "\n");
}

TEST_F(StartScript, IsFoundFromItsOwnFolder) {
  const sim::ScriptRun run = script->shell("cd " EXAMPLES_FOLDER "/busybox && sh usb_rx_ctrl.init start");
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(0)) << run.output;
  sim::StartScript::waitUntilServing();
}

TEST_F(StartScript, StopsTheDaemonAndItsSupervisor) {
  start();
  EXPECT_EQ(call("stop"), "usb_rx_ctrl does not run\n");
  EXPECT_EQ(call("status", notRunning), "usb_rx_ctrl does not run\n");
  EXPECT_EQ(supervisors(), 0);
  EXPECT_EQ(countProcesses("transmitter"), 0);
}

TEST_F(StartScript, StopsWhatIsNotThereWithoutAComplaint) {
  EXPECT_EQ(call("stop"), "usb_rx_ctrl does not run\n");
}

TEST_F(StartScript, StartsAKilledDaemonAnew) {
  killAndAwaitNext(start());
  EXPECT_EQ(nextEnd(), "the daemon was killed by signal 9; it starts again in 1 s");
  EXPECT_EQ(countProcesses("transmitter"), 1);
}

TEST_F(StartScript, StartsADaemonAnewWhoseLinkManagerHasGone) {
  const pid_t daemon = start();
  sim::LinkManager().configure();
  script->waitForDaemonAfter(daemon);
  script->waitUntilServing();
  EXPECT_EQ(nextEnd(), "the daemon ended with status 0; it starts again in 1 s");
}

TEST_F(StartScript, WaitsTwiceAsLongAfterEachFailureAtTheStart) {
  script->setArguments("--unknown");
  const sim::ScriptRun run = script->call("start");
  for (const char* pause : {"1", "2", "4"}) {
    EXPECT_EQ(nextEnd(), std::string("the daemon ended with status 1; it starts again in ") + pause + " s");
  }
  EXPECT_NE(call("status", startedAgain).find("has ended and is started again"), std::string::npos);
  EXPECT_EQ(call("stop"), "usb_rx_ctrl does not run\n");
  EXPECT_EQ(supervisors(), 0);
}

TEST_F(StartScript, WaitsNoLongerAfterManyEndsOfItsLinkManager) {
  pid_t daemon = start();
  for (int end = 1; end <= 3; ++end) {
    sim::LinkManager().configure();
    daemon = script->waitForDaemonAfter(daemon);
    script->waitUntilServing();
    EXPECT_EQ(nextEnd(), "the daemon ended with status 0; it starts again in 1 s");
  }
}

TEST_F(StartScript, StopsADaemonWhoseSupervisorWasKilled) {
  const pid_t daemon = start();
  killSupervisor();
  EXPECT_NE(call("status").find("its supervisor has been killed"), std::string::npos);
  call("stop");
  EXPECT_EQ(countProcesses("transmitter"), 0) << daemon;
}

TEST_F(StartScript, ReplacesADaemonWhoseSupervisorWasKilled) {
  const pid_t daemon = start();
  killSupervisor();
  call("start");
  script->waitUntilServing();
  EXPECT_NE(script->daemon(), daemon);
  EXPECT_EQ(countProcesses("transmitter"), 1);
  EXPECT_EQ(supervisors(), 1);
}

TEST_F(StartScript, KillsADaemonThatDoesNotEnd) {
  sendSignal("STOP", start());
  call("stop");
  EXPECT_EQ(countProcesses("transmitter"), 0);
}

TEST_F(StartScript, DoesNotTakeAnotherProcessForADaemonThatHasTheNumberOfOne) {
  script->shell(
      "sleep 1000 & echo $! >/var/run/usb_rx_ctrl.pid; echo $! >/var/run/usb_rx_ctrl.supervisor.pid");
  call("status", notRunning);
  call("stop");
  EXPECT_EQ(countProcesses("1000"), 1);
}

TEST_F(StartScript, RestartsTheDaemonWithTheArgumentsAsTheyAreThen) {
  const pid_t daemon = start();
  script->setArguments("--intf=wlan0");
  call("restart");
  EXPECT_NE(script->waitForDaemonAfter(0), daemon);
  EXPECT_EQ(countProcesses("--intf=wlan0"), 1);
  EXPECT_EQ(supervisors(), 1);
}

TEST_F(StartScript, SupervisesTheDaemonForALineOfInittab) {
  script->shell("sh " + std::string(examples::startScriptFile) + " supervise </dev/null >/dev/null 2>&1 &");
  killAndAwaitNext(script->waitForDaemonAfter(0));
  EXPECT_EQ(supervisors(), 1);
  EXPECT_EQ(call("stop"), "usb_rx_ctrl does not run\n");
}

TEST_F(StartScript, LetsTheNextDeviceBeJudgedByTheConfigurationAsItIsThen) {
  start();
  sim::Unit::writeConfig("[usb]\nhid_only = yes\n");
  call("reload");
  unit.plug(sim::UsbDevice{.name = "1-4", .product = "Scanner"});
  EXPECT_NE(unit.display.waitForWrite().find("Scanner"), std::string::npos);
}

TEST_F(StartScript, RefusesAPortThatIsNoNumber) {
  script->setArguments("", "usb");
  EXPECT_NE(call("start", 6).find("'usb'"), std::string::npos);
}

TEST_F(StartScript, ReportsAProgramThatIsNotThere) {
  sim::writeFile(script->argumentsFile, "PATH=/sim/nowhere:/usr/sbin:/usr/bin:/sbin:/bin\n");
  EXPECT_NE(call("start", 5).find("/sim/nowhere"), std::string::npos);
}

TEST_F(StartScript, ListsItsCommandsForAWordThatIsNone) {
  EXPECT_NE(call("begin", 2).find("{start|stop|restart|reload|status}"), std::string::npos);
}

}  // namespace
