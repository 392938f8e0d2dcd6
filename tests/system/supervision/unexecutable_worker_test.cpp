// A worker that cannot be executed ends the daemon.

#include <gtest/gtest.h>

#include <string>

#include "sim/contract.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"
#include "system/support/held_daemon.h"

namespace {

using support::commandLine;

const std::string execFailed = contract::error::execFailed;

sim::ProcessOptions withoutWorkersOnPath() {
  sim::ProcessOptions world;
  world.environment = {"PATH=/vel/empty"};
  return world;
}

class UnexecutableWorker : public support::DaemonFixture {
 protected:
  void expectEnd() { EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1)); }
};

TEST_F(UnexecutableWorker, IsReportedInDebugging) {
  sim::Daemon& daemon = start(commandLine(), withoutWorkersOnPath());

  const std::string directory = unit.plug(scanner());

  expectEnd();
  EXPECT_TRUE(daemon.standardError().ends_with("\n" + execFailed)) << daemon.standardError();
  EXPECT_TRUE(daemon.hasLine(contract::debug::line(contract::debug::startingGeneric(directory))));
}

TEST_F(UnexecutableWorker, IsNotReportedOtherwise) {
  sim::Daemon& daemon = start(commandLine({}), withoutWorkersOnPath());

  unit.plug(scanner());

  expectEnd();
  EXPECT_EQ(daemon.standardError(), "");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST_F(UnexecutableWorker, IsReportedOnStandardErrorAlsoWhenTheLogGoesToSyslog) {
  sim::Daemon& daemon = start(commandLine({"--syslog", "--debug=ctrl"}), withoutWorkersOnPath());

  unit.plug(scanner());

  expectEnd();
  EXPECT_EQ(daemon.standardError(), execFailed);
  for (const sim::SyslogMessage& message : unit.syslog.takeMessages()) {
    EXPECT_EQ(message.text.find("***"), std::string::npos) << message.text;
  }
}

TEST_F(UnexecutableWorker, MayBeThatOfAKeyboard) {
  start(commandLine({"--class=all"}), withoutWorkersOnPath());
  unit.plug(sim::HiddevNode{.usbDevice = unit.plug(keyboard())});
  expectEnd();
}

TEST_F(UnexecutableWorker, MayBeThatOfADisk) {
  start(commandLine({"--class=scsi"}), withoutWorkersOnPath());
  unit.plug(sim::ScsiGenericNode{.usbDevice = unit.plug(disk())});
  expectEnd();
}

TEST_F(UnexecutableWorker, MayBeTheOneThatTheConfigurationNames) {
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /missing/worker\n");
  start();
  unit.plug(scanner());
  expectEnd();
}

TEST_F(UnexecutableWorker, EndsADaemonThatWaitsForAControlClient) {
  start(commandLine({}));
  sim::Worker& worker = attach(scanner());
  // cppcheck-suppress unreadVariable
  const support::HeldDaemon held(unit);

  worker.exitWith(42);

  expectEnd();
}

}  // namespace
