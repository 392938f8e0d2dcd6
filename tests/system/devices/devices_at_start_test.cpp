// Devices that are plugged in when the daemon starts.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "sim/recording_views.h"
#include "system/support/attached_devices.h"
#include "system/support/held_attribute.h"
#include "system/support/hotplug.h"
#include "system/support/last_words.h"

namespace {

class DevicesAtStart : public Hotplug {
 protected:
  /** Starts the daemon; it may be at its coldplug for long. */
  sim::Daemon& startDuring(const std::string& classList) {
    return unit.startDaemon({"--debug=ctrl", "--class=" + classList, "transmitter", "5000", "high"});
  }
  /** The program and the last argument of every worker so far. */
  std::set<Messages> startedWorkers() {
    std::set<Messages> started;
    for (std::size_t i = unit.daemon().children().size(); i > 0; --i) {
      const sim::Worker& worker = unit.workers.waitForWorker();
      started.insert({worker.program(), worker.device()});
    }
    return started;
  }
  /** What the daemon says of its coldplug. */
  Messages saidOfColdplug() {
    Messages messages = unit.daemon().messages();
    const auto begin = std::find(messages.begin(), messages.end(), "[rx_ctrl] coldplugging existing devices");
    const auto end = std::find(messages.begin(), messages.end(), "[rx_ctrl] hotplugging new devices");
    return begin < end ? Messages(begin + 1, end) : Messages{};
  }
  bool isSaid(const std::string& text) {
    const Messages said = saidOfColdplug();
    return std::find(said.begin(), said.end(), rxCtrl({text}).front()) != said.end();
  }
};

TEST_F(DevicesAtStart, ComesBeforeTheEventsOfTheKernel) {
  const std::string device = unit.sysfs.add(scanner());
  start("all");
  Messages messages = unit.daemon().messages();
  EXPECT_EQ(messages,
            rxCtrl({"setup signal hansler", "coldplugging existing devices", "add /bus/usb/devices/1-1",
                    "subsystem is 'usb'", "  no iso endpoints found, this is supported.", kind::generic,
                    "starting usb_rx_generic for " + device, "hotplugging new devices"}));
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(device));
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

/** Three recorded devices that are there before each daemon. */
class RecordedDevicesAtStart : public DevicesAtStart {
 protected:
  RecordedDevicesAtStart() {
    for (const auto* recording : {&recordedKeyboard, &recordedDisk, &recordedReader}) {
      unit.sysfs.layOut(*recording);
    }
  }

  const sim::DeviceRecording recordedKeyboard =
      sim::withClassUsbHiddev(sim::DeviceRecording::load("kbd-fs-hiddev"));
  const sim::DeviceRecording recordedDisk = sim::atPort(sim::DeviceRecording::load("storage-hs"), "1-7", 1);
  const sim::DeviceRecording recordedReader = sim::atPort(sim::DeviceRecording::load("ccid"), "1-8", 2);
  const Messages genericKeyboard = {"usb_rx_generic", recordedKeyboard.directory};
  const Messages genericDisk = {"usb_rx_generic", recordedDisk.directory};
  const Messages ownKeyboard = {"usb_rx_keyboard", "0"};
  const Messages ownDisk = {"usb_rx_scsi", recordedDisk.nodes("sg").front()};
  const Messages others = {"usb_rx_generic", recordedReader.directory};
};

TEST_F(RecordedDevicesAtStart, AreAllGenericWhereNoClassIsServed) {
  start("none");
  EXPECT_EQ(startedWorkers(), (std::set<Messages>{genericKeyboard, genericDisk, others}));
}

TEST_F(RecordedDevicesAtStart, HaveAKeyboardWorkerWhereKeyboardsAreServed) {
  start("keyboard");
  EXPECT_EQ(startedWorkers(), (std::set<Messages>{ownKeyboard, genericDisk, others}));
}

TEST_F(RecordedDevicesAtStart, HaveAScsiWorkerWhereDisksAreServed) {
  start("scsi");
  EXPECT_EQ(startedWorkers(), (std::set<Messages>{genericKeyboard, ownDisk, others}));
}

TEST_F(RecordedDevicesAtStart, HaveWorkersOfTheirOwnWhereAllClassesAreServed) {
  start("all");
  EXPECT_EQ(startedWorkers(), (std::set<Messages>{ownKeyboard, ownDisk, others}));
}

TEST_F(DevicesAtStart, LeavesRecordedKeyboardsWithoutBootInterfaceAlone) {
  unit.sysfs.layOut(sim::withClassUsbHiddev(sim::DeviceRecording::load("made-kbd-noboot-hiddev")));
  start("all");
  EXPECT_TRUE(isSaid("coldplugging keyboards"));
  EXPECT_FALSE(isSaid("add /class/usb/hiddev0"));
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_F(DevicesAtStart, LeavesTheNodesOfRecordedMiceAlone) {
  const sim::DeviceRecording mouse = sim::withClassUsbHiddev(sim::DeviceRecording::load("mouse-fs-hiddev"));
  unit.sysfs.layOut(mouse);
  start("all");
  EXPECT_TRUE(isSaid("coldplugging keyboards"));
  EXPECT_FALSE(isSaid("add /class/usb/hiddev0"));
  EXPECT_EQ(startedWorkers(), (std::set<Messages>{{"usb_rx_generic", mouse.directory}}));
}

TEST_F(DevicesAtStart, TellsTheUserOfDevicesThatAreRefused) {
  const sim::DeviceRecording camera = sim::DeviceRecording::load("made-camera-hs");
  unit.sysfs.layOut(camera);
  start("all");
  EXPECT_EQ(unit.display.waitForWrite(),
            camera.product + " is not supported because it has isochronous endpoints\n");
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_F(DevicesAtStart, OfADeviceThatTheKernelAnnouncesMeanwhileGivesItOneWorker) {
  const std::string device = unit.sysfs.add(scanner());
  HeldAttribute held(device + "/bDeviceClass");
  startDuring("none");
  held.waitForReader();
  unit.uevents.add(devpathOf(device));
  held.release("00\n");
  unit.waitUntilServing();
  unit.settle();
  const Messages messages = unit.daemon().messages();
  const auto serving = std::find(messages.begin(), messages.end(), "[rx_ctrl] hotplugging new devices");
  ASSERT_NE(serving, messages.end());
  EXPECT_EQ(Messages(serving + 1, messages.end() - 1),
            rxCtrl({"add " + devpathOf(device), "a subprocess is already handling this device"}));
  EXPECT_EQ(unit.daemon().children().size(), 1U);
}

TEST_F(DevicesAtStart, OfADiskThatIsPluggedInMeanwhileGivesItOneWorker) {
  const std::string present = unit.sysfs.add(scanner("1-1"));
  HeldAttribute held(present + "/bDeviceClass");
  startDuring("scsi");
  held.waitForReader();
  // Seen by the pass over the disks or not, the kernel's event follows.
  const std::string node = unit.plug(sim::ScsiGenericNode{.usbDevice = unit.plug(disk())});
  held.release("00\n");
  unit.waitUntilServing();
  unit.settle();
  EXPECT_EQ(unit.workers.waitForWorkerOf(node).program(), "usb_rx_scsi");
  EXPECT_EQ(unit.workers.waitForWorkerOf(present).program(), "usb_rx_generic");
  EXPECT_EQ(unit.daemon().children().size(), 2U);
}

TEST_F(DevicesAtStart, LooksAfterItsWorkersLikeAfterAnyOther) {
  const std::string device = unit.sysfs.add(scanner());
  start("none");
  unit.workers.waitForWorker().exitWith(1);
  EXPECT_EQ(unit.daemon().waitForLine("restarting"),
            "[rx_ctrl] device " + device + " still present; restarting 1");
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, genericWorker(device));
}

TEST_F(DevicesAtStart, PassesADeviceByThatCannotBeHandled) {
  unit.sysfs.makeLink("/sys/bus/usb/devices/1-4", "../../../../devices/none");
  const std::string device = unit.sysfs.add(scanner());
  start("all");
  EXPECT_TRUE(isSaid(eventIgnored));
  EXPECT_EQ(startedWorkers(), (std::set<Messages>{{"usb_rx_generic", device}}));
}

TEST_F(DevicesAtStart, WithoutTheDirectoryOfUsbDevicesEndsTheDaemon) {
  std::filesystem::remove(unit.sysfs.placeOf("/sys/bus/usb/devices"));
  EXPECT_EQ(lastWordsOf(startDuring("none")),
            "No such file or directory while opendir(/sys/bus/usb/devices)");
}

/** A keyboard's node that coldplug cannot judge. */
class UnreadableKeyboardAtStart : public DevicesAtStart {
 protected:
  UnreadableKeyboardAtStart() { unit.sysfs.add(sim::HiddevNode{.usbDevice = unit.sysfs.add(keyboard())}); }

  std::string lastWords() {
    std::string words = lastWordsOf(startDuring("keyboard"));
    EXPECT_TRUE(unit.daemon().hasLine("coldplugging keyboards"));
    EXPECT_FALSE(unit.daemon().hasLine("hotplugging"));
    return words;
  }

  const std::string directory = keyboard().directory();
};

TEST_F(UnreadableKeyboardAtStart, WithoutDescriptorsEndsTheDaemon) {
  unit.sysfs.removeAttribute(directory, "descriptors");
  EXPECT_EQ(lastWords(),
            "No such file or directory while open(\"/sys/class/usb/hiddev0/device/../descriptors\")");
}

TEST_F(UnreadableKeyboardAtStart, WithShortDescriptorsEndsTheDaemon) {
  unit.sysfs.writeAttribute(directory, "descriptors", sim::keyboardDescriptors().substr(0, 17));
  EXPECT_EQ(lastWords(), "EOF");
}

TEST_F(UnreadableKeyboardAtStart, WithOtherDescriptorsEndsTheDaemon) {
  unit.sysfs.writeAttribute(directory, "descriptors", sim::configuration(sim::interface(3, 1, 1)));
  EXPECT_EQ(lastWords(), "Not a device descriptor");
}

TEST_F(UnreadableKeyboardAtStart, WithoutASubclassEndsTheDaemon) {
  unit.sysfs.removeAttribute(directory + "/1-2:1.0", "bInterfaceSubClass");
  EXPECT_EQ(lastWords(),
            "No such file or directory while open(\"/sys/class/usb/hiddev0/device/bInterfaceSubClass\")");
}

}  // namespace
