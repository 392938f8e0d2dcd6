#include <gtest/gtest.h>

#include "system/support/control_messages.h"
#include "system/support/worker_launch.h"

namespace {

using LaunchFailure = WorkerLaunch;

using Lines = std::vector<std::string>;

const std::string execFailed = "[RxCtrl] *** subprocess exec() failed; maybe not found? ***";

/** A world in which no worker program can be found. */
sim::ProcessOptions withoutWorkers() {
  sim::ProcessOptions world;
  world.environment = {"PATH=/nowhere"};
  return world;
}

}  // namespace

TEST_F(LaunchFailure, AMissingGenericWorkerEndsTheDaemon) {
  startWith({}, withoutWorkers());
  unit.plug(mouse());
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().standardError(), "");
}

TEST_F(LaunchFailure, AMissingKeyboardWorkerEndsTheDaemon) {
  startWith({}, withoutWorkers());
  sim::HiddevNode node;
  node.usbDevice = unit.sysfs.add(named(deviceWithRaw(sim::keyboardDescriptors()), "1-2", "Keyboard"));
  unit.plug(node);
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

TEST_F(LaunchFailure, AMissingScsiWorkerEndsTheDaemon) {
  startWith({}, withoutWorkers());
  sim::ScsiGenericNode node;
  node.usbDevice = unit.sysfs.add(named(deviceWithRaw(sim::diskDescriptors()), "1-3", "Disk"));
  unit.plug(node);
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

TEST_F(LaunchFailure, AMissingWorkerIsToldWhenTheDaemonDebugs) {
  startWith({"--debug=ctrl"}, withoutWorkers());
  const std::size_t before = unit.daemon().lines().size();
  unit.plug(mouse());
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  Lines lines = unit.daemon().lines();  // not messages(): the last one has no time
  ASSERT_EQ(lines.size(), before + 6);
  EXPECT_EQ(lines.back(), execFailed);
}

TEST_F(LaunchFailure, AMissingWorkerIsToldOnStandardErrorThoughTheDaemonLogsToSyslog) {
  startWith({"--debug=ctrl", "--syslog"}, withoutWorkers());
  unit.plug(mouse());
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().standardError(), execFailed + "\n");
}

TEST_F(LaunchFailure, AMissingConfiguredProgramEndsTheDaemon) {
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /opt/x/missing\n");
  startWith({});
  unit.plug(mouse());
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

TEST_F(LaunchFailure, ADirectoryInAProgramsPlaceEndsTheDaemon) {
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /sys\n");
  startWith({});
  unit.plug(mouse());
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

TEST_F(LaunchFailure, AMissingWorkerOfAnotherKindDoesNoHarm) {
  unit.installWorker("/opt/only/usb_rx_generic");
  sim::ProcessOptions world;
  world.environment = {"PATH=/opt/only"};
  startWith({}, world);
  EXPECT_EQ(genericWorker().program(), "usb_rx_generic");
  EXPECT_TRUE(unit.daemon().isRunning());
}

TEST_F(LaunchFailure, AKeyboardNodeWithoutDeviceNumberStartsNothing) {
  startWith({"--debug=ctrl"});
  sim::HiddevNode node;
  node.usbDevice = unit.sysfs.add(named(deviceWithRaw(sim::keyboardDescriptors()), "1-2", "Keyboard"));
  const std::string directory = unit.sysfs.add(node);
  unit.sysfs.removeAttribute(directory, "dev");
  const std::size_t before = unit.daemon().lines().size();
  unit.uevents.add(directory.substr(4));
  unit.settle();
  Lines messages = unit.daemon().messages();
  messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
  messages.pop_back();  // the settling event's
  EXPECT_EQ(messages,
            Lines({"[rx_ctrl] add " + directory.substr(4), "[rx_ctrl] subsystem is 'usb'",
                   "[rx_ctrl] this is HID device", "[rx_ctrl] Exception while processing uevent; ignored."}));
  EXPECT_EQ(unit.daemon().children(), std::vector<pid_t>());
  EXPECT_EQ(unit.display.takeWrites(), Lines());
}

TEST_F(LaunchFailure, AKeyboardNodeIsOfferedAgainOnceItHasADeviceNumber) {
  startWith({"--debug=ctrl"});
  sim::HiddevNode node;
  node.usbDevice = unit.sysfs.add(named(deviceWithRaw(sim::keyboardDescriptors()), "1-2", "Keyboard"));
  const std::string directory = unit.sysfs.add(node);
  unit.sysfs.removeAttribute(directory, "dev");
  unit.uevents.add(directory.substr(4));
  unit.settle();
  unit.sysfs.writeAttribute(directory, "dev", "180:3\n");
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "eth1", "transmitter", "5001", "180", "3"}));
}
