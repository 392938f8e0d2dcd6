// Devices that are taken out while the daemon reads one of their attributes: each test holds the daemon at
// one read, removes the device, and lets it go on. A kernel then gives what it has read already, or nothing.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "system/support/attached_devices.h"
#include "system/support/held_attribute.h"
#include "system/support/hotplug.h"

namespace {

class VanishingAtRead : public Hotplug {
 protected:
  /**
   * What the daemon says of the device or node `announced` when `vanishing` goes while the attribute
   * `file` (a path) is read, and the read gives `content`.
   */
  Messages saidWhen(const std::string& vanishing, const std::string& file, const std::string& content,
                    const std::string& announced) {
    HeldAttribute held(file);
    return during([&] {
      unit.uevents.add(devpathOf(announced));
      held.waitForReader();
      unit.sysfs.removeDevice(vanishing);
      held.release(content);
    });
  }
  Messages saidWhenGone(const std::string& name, const std::string& content) {
    return saidWhen(directory, directory + "/" + name, content, directory);
  }
  /** The same when the device goes at a later reading of its descriptors, the first giving `firstContent`. */
  Messages saidWhenGoneAtSecondReading(const std::string& firstContent, const std::string& content) {
    HeldAttribute first(directory + "/descriptors");
    return during([&] {
      unit.uevents.add(devpathOf(directory));
      first.waitForReader();
      HeldAttribute second(directory + "/descriptors");
      first.release(firstContent);
      second.waitForReader();
      unit.sysfs.removeDevice(directory);
      second.release(content);
    });
  }

  static inline const std::string directory = scanner().directory();
};

TEST_F(VanishingAtRead, OfTheUeventFileIsNoUsbDevice) {
  start("all");
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidWhenGone("uevent", ""), usbDevice(directory, {}));
}

TEST_F(VanishingAtRead, OfTheUeventFileInTimeIsAwaitedInVain) {
  start("all");
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidWhenGone("uevent", *scanner().uevent), usbDevice(directory, {kind::undetermined}));
}

TEST_F(VanishingAtRead, OfTheUeventFileInTimeIsHandledWhenPluggedInAnew) {
  start("all");
  unit.sysfs.add(scanner());
  HeldAttribute held(directory + "/uevent");
  const Messages said = during([&] {
    unit.uevents.add(devpathOf(directory));
    held.waitForReader();
    unit.sysfs.removeDevice(directory);
    unit.sysfs.add(scanner());
    held.release(*scanner().uevent);
  });
  EXPECT_EQ(said, genericDevice(directory));
}

TEST_F(VanishingAtRead, OfTheDeviceClassEndsTheEvent) {
  start("all");
  for (const std::string content : {"", "00\n"}) {
    unit.sysfs.add(scanner());
    EXPECT_EQ(saidWhenGone("bDeviceClass", content), usbDevice(directory, {eventIgnored}));
  }
}

TEST_F(VanishingAtRead, OfTheDeviceClassInTimeIsAHub) {
  start("all");
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidWhenGone("bDeviceClass", "09\n"), usbDevice(directory, {kind::hub}));
}

TEST_F(VanishingAtRead, OfTheDescriptorsForTheKeyboardTestEndsTheEvent) {
  start("all");
  for (const std::string& content : {std::string(), sim::deviceDescriptor().substr(0, 17),
                                     sim::mouseDescriptors(), sim::diskDescriptors()}) {
    unit.sysfs.add(scanner());
    EXPECT_EQ(saidWhenGone("descriptors", content), usbDevice(directory, {eventIgnored}));
  }
}

TEST_F(VanishingAtRead, OfTheDescriptorsForTheKeyboardTestInTimeIsAKeyboard) {
  start("all");
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidWhenGone("descriptors", sim::keyboardDescriptors()), usbDevice(directory, {kind::keyboard}));
}

TEST_F(VanishingAtRead, OfTheDescriptorsForTheStorageTestEndsTheEvent) {
  start("all");
  for (const std::string& content : {std::string(), sim::deviceDescriptor(), sim::mouseDescriptors()}) {
    unit.sysfs.add(scanner());
    EXPECT_EQ(saidWhenGoneAtSecondReading(sim::diskDescriptors(), content),
              usbDevice(directory, {eventIgnored}));
  }
}

TEST_F(VanishingAtRead, OfTheDescriptorsForTheStorageTestInTimeIsStorage) {
  start("all");
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidWhenGoneAtSecondReading(sim::diskDescriptors(), sim::diskDescriptors()),
            usbDevice(directory, {kind::storage}));
}

TEST_F(VanishingAtRead, OfTheDescriptorsForARuleEndsTheEventAtTheNextRule) {
  unit.writeConfig("[usb]\nblock_mass_storage = 1\n");
  start();
  for (const std::string& content : {std::string(), sim::vendorDeviceDescriptors()}) {
    unit.sysfs.add(scanner());
    EXPECT_EQ(saidWhenGone("descriptors", content), usbDevice(directory, {eventIgnored}));
  }
}

TEST_F(VanishingAtRead, OfTheDescriptorsForTheLastRuleStartsAWorkerAllTheSame) {
  start();
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidWhenGone("descriptors", sim::vendorDeviceDescriptors()), genericDevice(directory));
  EXPECT_EQ(unit.workers.waitForWorker().device(), directory);
}

TEST_F(VanishingAtRead, OfTheDescriptorsForARefusalIsRefusedByItsDefaultName) {
  unit.writeConfig("[usb]\nblock_mass_storage = 1\n");
  start();
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidWhenGone("descriptors", sim::diskDescriptors()), usbDevice(directory, {kind::unsupported}));
  EXPECT_EQ(unit.display.takeWrites(),
            Messages{"un-named device configuration blocked due to mass storage capability\n"});
}

TEST_F(VanishingAtRead, OfItsNameIsRefusedByWhatWasRead) {
  unit.writeConfig("[usb]\nhid_only = 1\n");
  start();
  unit.sysfs.add(scanner());
  EXPECT_EQ(saidWhenGone("product", "Scan"), usbDevice(directory, {kind::unsupported}));
  EXPECT_EQ(unit.display.takeWrites(), Messages{"Scan is not supported because it has non-HID endpoints\n"});
}

TEST_F(VanishingAtRead, OfTheNodesNumberStartsAKeyboardWorkerAllTheSame) {
  start("keyboard");
  const std::string usb = unit.sysfs.add(keyboard());
  const std::string node = unit.sysfs.add(sim::HiddevNode{.usbDevice = usb});
  EXPECT_EQ(saidWhen(usb, node + "/dev", "180:7\n", node),
            usbDevice(node, {kind::hid, "starting usb_rx_keyboard for " + node + " (180:7)"}));
  EXPECT_EQ(unit.workers.waitForWorker().device(), "7");
  EXPECT_EQ(unit.display.waitForWrite(), "un-named device attached\n");
}

TEST_F(VanishingAtRead, OfTheKeyboardsNameHasItsWorkerStarted) {
  start("keyboard");
  const std::string usb = unit.sysfs.add(keyboard());
  const std::string node = unit.sysfs.add(sim::HiddevNode{.usbDevice = usb});
  EXPECT_EQ(saidWhen(usb, usb + "/product", "Keys", node),
            usbDevice(node, {kind::hid, "starting usb_rx_keyboard for " + node + " (180:0)"}));
  unit.workers.waitForWorker();
  EXPECT_EQ(unit.display.waitForWrite(), "Keys attached\n");
}

TEST_F(VanishingAtRead, OfTheDisksNameHasItsWorkerStarted) {
  start("scsi");
  for (const std::string name : {"vendor", "model"}) {
    const std::string usb = unit.sysfs.add(disk());
    const std::string node = unit.sysfs.add(sim::ScsiGenericNode{.usbDevice = usb, .name = "sg_" + name});
    EXPECT_EQ(saidWhen(usb, node + "/device/" + name, "What", node),
              rxCtrl({"add " + devpathOf(node), "subsystem is 'scsi_generic'", kind::scsiGeneric,
                      "starting usb_rx_scsi for " + node}));
    EXPECT_EQ(unit.workers.waitForWorker().device(), node);
  }
  EXPECT_EQ(unit.display.waitForWrite(), "What un-named device attached\n");
  EXPECT_EQ(unit.display.waitForWrite(), "ACME     What attached\n");
}

}  // namespace
