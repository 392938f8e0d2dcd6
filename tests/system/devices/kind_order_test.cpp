// A device that fits several kinds is taken for the first of them: hub, keyboard, storage, and only then the
// rules of admission are asked.

#include <gtest/gtest.h>

#include <string>

#include "system/support/attached_devices.h"
#include "system/support/held_attribute.h"
#include "system/support/hotplug.h"

namespace {

using KindOrder = Hotplug;

const std::string isochronousEndpoint = sim::endpoint(sim::transfer_type::isochronous);

/** Everything but the isochronous rule is on, so that a device that is asked for admission is refused. */
constexpr const char* refusingSettings =
    "[usb]\nhid_only = 1\nblock_mass_storage = 1\nsmartcard = 1\nisochronous_enabled = 1\n";

TEST_F(KindOrder, HubIsAHubWhateverItsDescriptorsSay) {
  start("all");
  sim::UsbDevice hub = keyboard();
  hub.deviceClass = "09";
  EXPECT_EQ(kindOf(hub), kind::hub);
  hub = disk();
  hub.deviceClass = "09";
  EXPECT_EQ(kindOf(hub), kind::hub);
}

TEST_F(KindOrder, HubsDescriptorsAreNotEvenRead) {
  start("all");
  sim::UsbDevice hub;
  hub.deviceClass = "09";
  EXPECT_EQ(during([&] {
              unit.sysfs.add(hub);
              unit.sysfs.removeAttribute(hub.directory(), "descriptors");
              unit.plug(hub);
            }),
            usbDevice(hub.directory(), {kind::hub}));
}

TEST_F(KindOrder, HubIsNotAskedForAdmission) {
  unit.writeConfig(refusingSettings);
  start();
  sim::UsbDevice hub = disk();
  hub.deviceClass = "09";
  EXPECT_EQ(kindOf(hub), kind::hub);
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

TEST_F(KindOrder, HubByItsDescriptorsAloneIsNoHub) {
  start("all");
  sim::UsbDevice device = scanner();
  device.descriptors = sim::deviceDescriptor(sim::usb_class::hub) +
                       sim::configuration(sim::interface(sim::usb_class::hub, 0, 0));
  EXPECT_EQ(kindOf(device), kind::generic);
}

TEST_F(KindOrder, KeyboardComesBeforeStorage) {
  start("all");
  const std::string file = keyboard().directory() + "/descriptors";
  unit.sysfs.add(keyboard());
  HeldAttribute first(file);
  const Messages said = during([&] {
    unit.uevents.add(devpathOf(keyboard().directory()));
    first.waitForReader();
    unit.sysfs.removeAttribute(keyboard().directory(), "descriptors");
    unit.sysfs.writeAttribute(keyboard().directory(), "descriptors", sim::diskDescriptors());
    first.release(sim::keyboardDescriptors());
  });
  EXPECT_EQ(said, usbDevice(keyboard().directory(), {kind::keyboard}));
}

TEST_F(KindOrder, StorageIsTestedWhenTheDeviceIsNoKeyboard) {
  start("all");
  EXPECT_EQ(kindOf(disk()), kind::storage);
}

TEST_F(KindOrder, KeyboardIsNotAskedForAdmission) {
  start("keyboard");
  sim::UsbDevice device = keyboard();
  device.descriptors += isochronousEndpoint;
  EXPECT_EQ(saidOfPlugging(device), usbDevice(device.directory(), {kind::keyboard}));
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

TEST_F(KindOrder, StorageIsNotAskedForAdmission) {
  unit.writeConfig(refusingSettings);
  start("scsi");
  EXPECT_EQ(saidOfPlugging(disk()), usbDevice(disk().directory(), {kind::storage}));
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

TEST_F(KindOrder, DeviceOfADisabledClassIsAskedForAdmission) {
  unit.writeConfig(refusingSettings);
  start("keyboard");
  EXPECT_EQ(kindOf(disk()), kind::unsupported);
  EXPECT_EQ(unit.display.takeWrites(), Messages{"Disk is not supported because it has non-HID endpoints\n"});
}

TEST_F(KindOrder, DeviceThatIsRefusedHasNoWorker) {
  unit.writeConfig(refusingSettings);
  start();
  EXPECT_EQ(saidOfPlugging(scanner()), usbDevice(scanner().directory(), {kind::unsupported}));
  EXPECT_TRUE(unit.daemon().children().empty());
}

}  // namespace
