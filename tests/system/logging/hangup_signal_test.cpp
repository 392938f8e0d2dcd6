// SIGHUP: the policy is read again for the next generic device, and nothing else happens.

#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "sim/contract.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"

namespace {

using support::scanner;

using HangupSignal = support::DaemonFixture;

TEST_F(HangupSignal, DoesNothingByItself) {
  sim::Daemon& daemon = start();
  const std::size_t lines = daemon.messages().size();
  const std::string output = daemon.standardOutput();

  for (int i = 0; i < 100; ++i) {
    daemon.signal(SIGHUP);
  }
  unit.settle();

  EXPECT_EQ(daemon.messages().size(), lines + 1);
  EXPECT_EQ(daemon.standardOutput(), output);
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

TEST_F(HangupSignal, LeavesTheSettingsOfTheStartAsTheyAre) {
  sim::Daemon& daemon = start();
  sim::Unit::writeConfig("[usb]\ndebug = generic,bogus\nclasses = bogus\nlog_to_syslog = 1\n");

  daemon.signal(SIGHUP);

  EXPECT_EQ(attach(scanner()).start.arguments, support::genericWorker(scanner().directory()));
  unit.settle();
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST_F(HangupSignal, DuringTheWaitForADeviceHoldsForThatDevice) {
  sim::Daemon& daemon = start();
  sim::UsbDevice incomplete = scanner();
  incomplete.deviceClass.reset();
  const std::string directory = unit.plug(incomplete);
  daemon.waitForLine(contract::debug::subsystem("usb"));

  sim::Unit::writeConfig("[usb]\nhid_only = 1\n");
  daemon.signal(SIGHUP);
  unit.sysfs.writeAttribute(directory, "bDeviceClass", "00\n");

  EXPECT_EQ(unit.display.waitForWrite(), contract::display::nonHid("Scanner") + "\n");
}

}  // namespace
