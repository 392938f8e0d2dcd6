// What the daemon takes devices and nodes for, for each list of classes with workers of their own. Of several kinds that
// fit, a device is the first: hub, keyboard, storage, and only then the rules of admission are asked.

#include <ostream>
#include <string>

#include "support/held_attribute.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

using support::disk;
using support::hub;
using support::keyboard;
using support::Lines;
using support::nodeOf;
using support::scanner;
using support::usbDevice;

namespace debug = contract::debug;

struct ClassList {
  std::string list;
  bool keyboards;
  bool storage;
};

std::ostream& operator<<(std::ostream& out, const ClassList& classes) {
  return out << classes.list;
}

class DeviceKind : public support::Hotplug, public testing::WithParamInterface<ClassList> {
 protected:
  DeviceKind() { start(GetParam().list); }

  /** What the daemon says of a device that is of this kind if `served`, and generic otherwise. */
  static Lines saidIf(bool served, const char* special, const std::string& directory) {
    return served ? usbDevice(directory, {special}) : support::genericDevice(directory);
  }
};

INSTANTIATE_TEST_SUITE_P(ClassList, DeviceKind,
                         testing::Values(ClassList{"none", false, false}, ClassList{"keyboard", true, false},
                                         ClassList{"scsi", false, true},
                                         ClassList{"keyboard,scsi", true, true},
                                         ClassList{"all", true, true}));

TEST_P(DeviceKind, IsHubWithoutAWorker) {
  EXPECT_EQ(saidOfPlugging(hub()), usbDevice(hub().directory(), {debug::hub}));
  EXPECT_TRUE(hasNoWorker());
}

TEST_P(DeviceKind, IsKeyboardWithoutAWorkerWhereKeyboardsAreServed) {
  EXPECT_EQ(saidOfPlugging(keyboard()),
            saidIf(GetParam().keyboards, debug::keyboard, keyboard().directory()));
  EXPECT_EQ(hasNoWorker(), GetParam().keyboards);
}

TEST_P(DeviceKind, IsStorageWithoutAWorkerWhereStorageIsServed) {
  EXPECT_EQ(saidOfPlugging(disk()), saidIf(GetParam().storage, debug::storage, disk().directory()));
  EXPECT_EQ(hasNoWorker(), GetParam().storage);
}

TEST_P(DeviceKind, IsGenericWithAGenericWorker) {
  EXPECT_EQ(saidOfPlugging(scanner()), support::genericDevice(scanner().directory()));
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, support::genericWorker(scanner().directory()));
}

TEST_P(DeviceKind, IsUnsupportedWithoutAWorker) {
  const sim::UsbDevice camera = support::isochronousDevice();
  EXPECT_EQ(saidOfPlugging(camera),
            usbDevice(camera.directory(), {debug::isochronousFound, debug::unsupported}));
  EXPECT_TRUE(hasNoWorker());
}

TEST_P(DeviceKind, IsScsiGenericWithAScsiWorkerWhereStorageIsServed) {
  const std::string directory = unit.sysfs.add(disk());
  std::string node;
  const Lines said = during([&] { node = unit.plug(sim::ScsiGenericNode{.usbDevice = directory}); });
  if (!GetParam().storage) {
    EXPECT_EQ(said, nodeOf("scsi_generic", node));
    EXPECT_TRUE(hasNoWorker());
    return;
  }
  EXPECT_EQ(said, nodeOf("scsi_generic", node, {debug::scsiGeneric, debug::startingScsi(node)}));
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            (Lines{"usb_rx_scsi", "eth1", "transmitter", "5002", node}));
}

TEST_P(DeviceKind, IsOfNoInterestInAnotherSubsystem) {
  const std::string directory = "/sys/devices/platform/thing";
  unit.sysfs.makeDirectory(directory);
  for (const std::string subsystem : {"input", "usbmisc", "hid", "scsi", "scsi_host", "usb_device", "USB",
                                      "us", "scsi_generic2", "xscsi_generic"}) {
    unit.sysfs.makeLink(directory + "/subsystem", "../../../class/" + subsystem);
    EXPECT_EQ(saidOfAdding(directory), nodeOf(subsystem, directory));
  }
  EXPECT_TRUE(hasNoWorker());
}

TEST_P(DeviceKind, IsOfNoInterestAsAnInterface) {
  const std::string interface = unit.sysfs.add(keyboard()) + "/1-2:1.0";
  unit.sysfs.linkTo("/sys/bus/usb", interface + "/subsystem");
  unit.sysfs.writeAttribute(interface, "uevent", "DEVTYPE=usb_interface\nDRIVER=usbhid\n");
  EXPECT_EQ(saidOfAdding(interface), usbDevice(interface, {}));
  EXPECT_TRUE(hasNoWorker());
}

class DeviceKindOrder : public support::Hotplug {
 protected:
  /** Every rule but the isochronous one is on: a device that is asked for admission is refused. */
  static void refuseEverything() {
    sim::Unit::writeConfig(
        "[usb]\nhid_only = 1\nblock_mass_storage = 1\nsmartcard = 1\n"
        "isochronous_enabled = 1\n");
  }
};

TEST_F(DeviceKindOrder, HubIsAHubWhateverItsDescriptorsSay) {
  refuseEverything();
  start("all");
  for (const std::string& descriptors : {sim::keyboardDescriptors(), sim::diskDescriptors()}) {
    sim::UsbDevice device = hub();
    device.descriptors = descriptors;
    EXPECT_EQ(saidOfPlugging(device), usbDevice(device.directory(), {debug::hub}));
  }
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

TEST_F(DeviceKindOrder, HubsDescriptorsAreNotEvenRead) {
  start("all");
  unit.sysfs.removeAttribute(unit.sysfs.add(hub()), "descriptors");
  EXPECT_EQ(saidOfAdding(hub().directory()), usbDevice(hub().directory(), {debug::hub}));
}

TEST_F(DeviceKindOrder, HubByItsDescriptorsAloneIsNoHub) {
  start("all");
  EXPECT_EQ(kindOf(support::deviceWithRaw(sim::deviceDescriptor(sim::usb_class::hub) +
                                          sim::configuration(support::interfaceOf(sim::usb_class::hub)))),
            debug::generic);
}

TEST_F(DeviceKindOrder, KeyboardComesBeforeStorage) {
  start("all");
  const std::string directory = unit.sysfs.add(keyboard());
  support::HeldAttribute first(directory + "/descriptors");
  EXPECT_EQ(during([&] {
              unit.uevents.add(support::devpathOf(directory));
              first.waitForReader();
              unit.sysfs.removeAttribute(directory, "descriptors");
              unit.sysfs.writeAttribute(directory, "descriptors", sim::diskDescriptors());
              first.release(sim::keyboardDescriptors());
            }),
            usbDevice(directory, {debug::keyboard}));
}

TEST_F(DeviceKindOrder, KeyboardIsNotAskedForAdmission) {
  start("keyboard");
  sim::UsbDevice device = keyboard();
  device.descriptors += sim::endpoint(sim::transfer_type::isochronous);
  EXPECT_EQ(saidOfPlugging(device), usbDevice(device.directory(), {debug::keyboard}));
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

TEST_F(DeviceKindOrder, StorageIsNotAskedForAdmission) {
  refuseEverything();
  start("scsi");
  EXPECT_EQ(saidOfPlugging(disk()), usbDevice(disk().directory(), {debug::storage}));
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

TEST_F(DeviceKindOrder, DeviceOfADisabledClassIsAskedForAdmission) {
  refuseEverything();
  start("keyboard");
  EXPECT_EQ(saidOfPlugging(disk()), usbDevice(disk().directory(), {debug::unsupported}));
  EXPECT_EQ(unit.display.takeWrites(), Lines{contract::display::nonHid("Disk") + "\n"});
}

}  // namespace
