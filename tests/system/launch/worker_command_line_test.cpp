#include <gtest/gtest.h>

#include "system/support/control_messages.h"
#include "system/support/worker_launch.h"

namespace {

using WorkerArguments = WorkerLaunch;

}  // namespace

TEST_F(WorkerArguments, OfAScsiWorkerAreFew) {
  startWith({});
  EXPECT_EQ(scsiWorker().start.arguments,
            (Arguments{"usb_rx_scsi", "eth1", "transmitter", "5002", scsiDirectory}));
}

TEST_F(WorkerArguments, OfAKeyboardWorkerAreFew) {
  startWith({});
  EXPECT_EQ(keyboardWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "eth1", "transmitter", "5001", "13", "65"}));
}

TEST_F(WorkerArguments, OfAScsiWorkerAskForDebuggingToStandardError) {
  startWith({"--debug=scsi"});
  EXPECT_EQ(scsiWorker().start.arguments,
            (Arguments{"usb_rx_scsi", "--debug", "--stderr", "eth1", "transmitter", "5002", scsiDirectory}));
}

TEST_F(WorkerArguments, OfAKeyboardWorkerAskForDebuggingToStandardError) {
  startWith({"--debug=keyboard"});
  EXPECT_EQ(keyboardWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "--debug", "--stderr", "eth1", "transmitter", "5001", "13", "65"}));
}

TEST_F(WorkerArguments, OfAScsiWorkerAskForDebuggingToSyslog) {
  startWith({"--debug=scsi", "--syslog"});
  EXPECT_EQ(scsiWorker().start.arguments,
            (Arguments{"usb_rx_scsi", "--debug", "--syslog", "eth1", "transmitter", "5002", scsiDirectory}));
}

TEST_F(WorkerArguments, OfAKeyboardWorkerAskForDebuggingToSyslog) {
  startWith({"--debug=keyboard", "--syslog"});
  EXPECT_EQ(keyboardWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "--debug", "--syslog", "eth1", "transmitter", "5001", "13", "65"}));
}

TEST_F(WorkerArguments, OfAScsiWorkerDoNotAskForTheDebuggingOfOthers) {
  startWith({"--debug=ctrl,generic,keyboard", "--syslog"});
  EXPECT_EQ(scsiWorker().start.arguments,
            (Arguments{"usb_rx_scsi", "eth1", "transmitter", "5002", scsiDirectory}));
}

TEST_F(WorkerArguments, OfAKeyboardWorkerDoNotAskForTheDebuggingOfOthers) {
  startWith({"--debug=ctrl,generic,scsi", "--syslog"});
  EXPECT_EQ(keyboardWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "eth1", "transmitter", "5001", "13", "65"}));
}

TEST_F(WorkerArguments, OfKeyboardAndScsiWorkersHoldNeitherKeysNorControlSocket) {
  startWith({"--keys", "IN", "OUT", "--sock=/var/run/other"});
  EXPECT_EQ(keyboardWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "eth1", "transmitter", "5001", "13", "65"}));
  EXPECT_EQ(scsiWorker().start.arguments,
            (Arguments{"usb_rx_scsi", "eth1", "transmitter", "5002", scsiDirectory}));
}

TEST_F(WorkerArguments, OfKeyboardAndScsiWorkersHoldAnEmptyInterfaceInItsPlace) {
  startWith({"--intf="});
  EXPECT_EQ(keyboardWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "", "transmitter", "5001", "13", "65"}));
  EXPECT_EQ(scsiWorker().start.arguments,
            (Arguments{"usb_rx_scsi", "", "transmitter", "5002", scsiDirectory}));
}

TEST_F(WorkerArguments, HoldPortsBeyondTheHighestOneAsNumbers) {
  startFor({"transmitter", "65535", "high"});
  EXPECT_EQ(keyboardWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "eth1", "transmitter", "65536", "13", "65"}));
  EXPECT_EQ(scsiWorker().start.arguments,
            (Arguments{"usb_rx_scsi", "eth1", "transmitter", "65537", scsiDirectory}));
}

TEST_F(WorkerArguments, CountPortsFromZeroToo) {
  startFor({"transmitter", "0", "high"});
  EXPECT_EQ(keyboardWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "eth1", "transmitter", "1", "13", "65"}));
  EXPECT_EQ(scsiWorker().start.arguments,
            (Arguments{"usb_rx_scsi", "eth1", "transmitter", "2", scsiDirectory}));
}

TEST_F(WorkerArguments, OfKeyboardAndScsiWorkersDoNotFollowTheConfiguredGenericProgram) {
  unit.installWorker("/opt/x/gen");
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /opt/x/gen\n");
  startWith({});
  EXPECT_EQ(keyboardWorker().program(), "usb_rx_keyboard");
  EXPECT_EQ(scsiWorker().program(), "usb_rx_scsi");
}

TEST_F(WorkerArguments, OfEveryWorkerFollowTheLatestLinkParameters) {
  startWith({"--keys", "OLDIN", "OLDOUT"});
  const sim::LinkManager manager = deliver(unit, "otherhost 7000 low wlan0 IN OUT");
  EXPECT_EQ(genericWorker().start.arguments, (Arguments{"usb_rx_generic", "--keys", "IN", "OUT", "wlan0",
                                                        "otherhost", "7000", genericDirectory}));
  EXPECT_EQ(keyboardWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "wlan0", "otherhost", "7001", "13", "65"}));
  EXPECT_EQ(scsiWorker().start.arguments,
            (Arguments{"usb_rx_scsi", "wlan0", "otherhost", "7002", scsiDirectory}));
}

TEST_F(WorkerArguments, OfAKeyboardWorkerDivideItsDeviceNumberAtTheFirstColon) {
  startWith({});
  unit.sysfs.add(named(deviceWithRaw(sim::keyboardDescriptors()), "1-2", "Keyboard"));
  sim::HiddevNode node;
  node.usbDevice = "/sys/devices/platform/usb-host.0/usb1/1-2";
  node.dev = "180:0:96";
  unit.plug(node);
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            (Arguments{"usb_rx_keyboard", "eth1", "transmitter", "5001", "180", "0:96"}));
}
