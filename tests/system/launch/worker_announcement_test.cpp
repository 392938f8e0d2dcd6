#include <gtest/gtest.h>

#include "sim/recording_views.h"
#include "system/support/control_messages.h"
#include "system/support/worker_launch.h"

namespace {

class WorkerAnnouncement : public WorkerLaunch {
 protected:
  void start() { startWith({"--debug=ctrl"}); }

  /** Everything that was shown until the daemon has handled what was sent. */
  std::vector<std::string> shown() {
    unit.settle();
    return unit.display.takeWrites();
  }

  std::string plugDisk(const sim::ScsiGenericNode& node) {
    unit.sysfs.add(named(deviceWithRaw(sim::diskDescriptors()), "1-3", "Disk"));
    sim::ScsiGenericNode placed = node;
    placed.usbDevice = "/sys/devices/platform/usb-host.0/usb1/1-3";
    return unit.plug(placed);
  }

  void plugKeyboard(const std::optional<std::string>& product) {
    sim::UsbDevice keyboard = named(deviceWithRaw(sim::keyboardDescriptors()), "1-2", "");
    keyboard.product = product;
    sim::HiddevNode node;
    node.usbDevice = unit.sysfs.add(keyboard);
    unit.plug(node);
  }
};

using Lines = std::vector<std::string>;

std::string starting(const std::string& worker, const std::string& device) {
  return "[rx_ctrl] starting " + worker + " for " + device;
}

}  // namespace

TEST_F(WorkerAnnouncement, OfAGenericDeviceIsNotMadeWithoutAControlConnection) {
  start();
  unit.plug(mouse());
  EXPECT_EQ(shown(), Lines());
  EXPECT_EQ(unit.daemon().children().size(), 1U);
}

TEST_F(WorkerAnnouncement, OfAGenericDeviceIsMadeWithAControlConnection) {
  start();
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 high eth1");
  unit.plug(mouse());
  EXPECT_EQ(shown(), Lines({"Synthetic Device attached\n"}));
}

TEST_F(WorkerAnnouncement, AQueryMakesNoControlConnection) {
  start();
  askForParameters(unit);
  unit.plug(mouse());
  EXPECT_EQ(shown(), Lines());
}

TEST_F(WorkerAnnouncement, OfAGenericDeviceWithoutProductTextSaysSo) {
  start();
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 high eth1");
  sim::UsbDevice device = mouse();
  device.product.reset();
  unit.plug(device);
  EXPECT_EQ(shown(), Lines({"un-named device attached\n"}));
}

TEST_F(WorkerAnnouncement, OfAKeyboardIsMadeWithoutAControlConnection) {
  start();
  plugKeyboard("Deck");
  EXPECT_EQ(shown(), Lines({"Deck attached\n"}));
}

TEST_F(WorkerAnnouncement, OfAKeyboardIsMadeWithAControlConnection) {
  start();
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 high eth1");
  plugKeyboard("Deck");
  EXPECT_EQ(shown(), Lines({"Deck attached\n"}));
}

TEST_F(WorkerAnnouncement, OfAKeyboardWithoutProductTextSaysSo) {
  start();
  plugKeyboard(std::nullopt);
  EXPECT_EQ(shown(), Lines({"un-named device attached\n"}));
}

TEST_F(WorkerAnnouncement, OfADiskIsMadeWithoutAControlConnection) {
  start();
  plugDisk({});
  EXPECT_EQ(shown(), Lines({"ACME     Memory Stick     attached\n"}));
}

TEST_F(WorkerAnnouncement, OfADiskIsMadeWithAControlConnection) {
  start();
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 high eth1");
  plugDisk({});
  EXPECT_EQ(shown(), Lines({"ACME     Memory Stick     attached\n"}));
}

TEST_F(WorkerAnnouncement, OfADiskWithoutVendorBeginsWithABlank) {
  start();
  sim::ScsiGenericNode node;
  node.vendor.reset();
  node.model = "Stick";
  plugDisk(node);
  EXPECT_EQ(shown(), Lines({" Stick attached\n"}));
}

TEST_F(WorkerAnnouncement, OfADiskWithoutModelCallsItUnnamed) {
  start();
  sim::ScsiGenericNode node;
  node.vendor = "ACME";
  node.model.reset();
  plugDisk(node);
  EXPECT_EQ(shown(), Lines({"ACME un-named device attached\n"}));
}

TEST_F(WorkerAnnouncement, OfADiskWithoutVendorAndModelCallsItUnnamed) {
  start();
  sim::ScsiGenericNode node;
  node.vendor.reset();
  node.model.reset();
  plugDisk(node);
  EXPECT_EQ(shown(), Lines({" un-named device attached\n"}));
}

TEST_F(WorkerAnnouncement, OfADiskDoesNotNameItsUsbDevice) {
  start();
  sim::ScsiGenericNode node;
  node.vendor = "ACME";
  node.model = "Stick";
  const std::string directory = plugDisk(node);
  EXPECT_EQ(shown(), Lines({"ACME Stick attached\n"}));
}

TEST_F(WorkerAnnouncement, OfARecordedKeyboardNamesItOnce) {
  start();
  unit.plug(sim::withClassUsbHiddev(sim::DeviceRecording::load("kbd-fs-hiddev")));
  EXPECT_EQ(shown(), Lines({"QEMU USB Keyboard attached\n"}));
}

TEST_F(WorkerAnnouncement, OfTwoRecordedDisksInOneDeviceNamesBoth) {
  start();
  unit.plug(sim::DeviceRecording::load("storage-2lun"));
  EXPECT_EQ(shown(), Lines({"QEMU     QEMU HARDDISK    attached\n", "QEMU     QEMU HARDDISK    attached\n"}));
}

TEST_F(WorkerAnnouncement, IsMadeOnceForADeviceThatIsAnnouncedTwice) {
  start();
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 high eth1");
  const std::string directory = unit.plug(mouse());
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(shown(), Lines({"Synthetic Device attached\n"}));
}

TEST_F(WorkerAnnouncement, IsLoggedBeforehand) {
  start();
  plugKeyboard("Deck");
  plugDisk({});
  unit.plug(mouse());
  unit.settle();
  Lines started;
  for (const std::string& message : unit.daemon().messages()) {
    if (message.find("starting") != std::string::npos) {
      started.push_back(message);
    }
  }
  const std::string usb = "/sys/devices/platform/usb-host.0/usb1";
  EXPECT_EQ(started,
            Lines({starting("usb_rx_keyboard", usb + "/1-2/1-2:1.0/usb/hiddev0 (180:0)"),
                   starting("usb_rx_scsi", scsiDirectory), starting("usb_rx_generic", usb + "/1-1")}));
}
