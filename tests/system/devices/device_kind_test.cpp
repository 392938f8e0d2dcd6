// What the daemon takes devices and nodes for, whatever classes have workers of their own.

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

struct ClassList {
  std::string list;
  bool keyboards;
  bool storage;
};

std::ostream& operator<<(std::ostream& out, const ClassList& classes) {
  return out << classes.list;
}

class DeviceKind : public Hotplug, public testing::WithParamInterface<ClassList> {
 protected:
  DeviceKind() { start(classes_.list); }

  [[nodiscard]] bool servesKeyboards() const { return classes_.keyboards; }
  [[nodiscard]] bool servesStorage() const { return classes_.storage; }

  /** What the daemon says of a device that is of this kind if `served`, and generic otherwise. */
  static Messages saidIf(bool served, const char* special, const std::string& directory) {
    return served ? usbDevice(directory, {special}) : genericDevice(directory);
  }

 private:
  const ClassList classes_ = GetParam();
};

INSTANTIATE_TEST_SUITE_P(ClassList, DeviceKind,
                         testing::Values(ClassList{"none", false, false}, ClassList{"keyboard", true, false},
                                         ClassList{"scsi", false, true},
                                         ClassList{"keyboard,scsi", true, true},
                                         ClassList{"all", true, true}));

TEST_P(DeviceKind, IsHubWithoutAWorker) {
  sim::UsbDevice hub;
  hub.deviceClass = "09";
  EXPECT_EQ(saidOfPlugging(hub), usbDevice(hub.directory(), {kind::hub}));
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_P(DeviceKind, IsKeyboardWithoutAWorkerWhereKeyboardsAreServed) {
  const sim::UsbDevice device = keyboard();
  EXPECT_EQ(saidOfPlugging(device), saidIf(servesKeyboards(), kind::keyboard, device.directory()));
  EXPECT_EQ(unit.daemon().children().empty(), servesKeyboards());
}

TEST_P(DeviceKind, IsStorageWithoutAWorkerWhereStorageIsServed) {
  const sim::UsbDevice device = disk();
  EXPECT_EQ(saidOfPlugging(device), saidIf(servesStorage(), kind::storage, device.directory()));
  EXPECT_EQ(unit.daemon().children().empty(), servesStorage());
}

TEST_P(DeviceKind, IsGenericWithAGenericWorker) {
  EXPECT_EQ(saidOfPlugging(scanner()), genericDevice(scanner().directory()));
  const sim::Worker& worker = unit.workers.waitForWorker();
  EXPECT_EQ(worker.start.arguments, genericWorker(scanner().directory()));
}

TEST_P(DeviceKind, IsUnsupportedWithoutAWorker) {
  sim::UsbDevice camera = scanner();
  camera.descriptors =
      sim::deviceDescriptor() + sim::configuration(sim::interface(sim::usb_class::vendor, 0, 0) +
                                                   sim::endpoint(sim::transfer_type::isochronous));
  EXPECT_EQ(saidOfPlugging(camera),
            usbDevice(camera.directory(),
                      {"Isochronous endpoint found - device not supported", kind::unsupported}));
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_P(DeviceKind, IsScsiGenericWithAScsiWorkerWhereStorageIsServed) {
  const std::string directory = unit.sysfs.add(disk());
  std::string node;
  const Messages said = during([&] { node = unit.plug(sim::ScsiGenericNode{.usbDevice = directory}); });
  Messages expected{"add " + devpathOf(node), "subsystem is 'scsi_generic'"};
  if (servesStorage()) {
    expected.insert(expected.end(), {kind::scsiGeneric, "starting usb_rx_scsi for " + node});
  }
  EXPECT_EQ(said, rxCtrl(expected));
  ASSERT_EQ(unit.daemon().children().size(), servesStorage() ? 1U : 0U);
  if (servesStorage()) {
    EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
              (Messages{"usb_rx_scsi", "eth1", "transmitter", "5002", node}));
  }
}

TEST_P(DeviceKind, IsOfNoInterestInAnotherSubsystem) {
  const std::string directory = "/sys/devices/platform/thing";
  for (const std::string subsystem : {"input", "usbmisc", "hid", "scsi", "scsi_host", "usb_device", "USB",
                                      "us", "scsi_generic2", "xscsi_generic"}) {
    unit.sysfs.makeDirectory(directory);
    unit.sysfs.makeLink(directory + "/subsystem", "../../../class/" + subsystem);
    EXPECT_EQ(saidOfAdding(directory),
              rxCtrl({"add " + devpathOf(directory), "subsystem is '" + subsystem + "'"}));
  }
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_P(DeviceKind, IsOfNoInterestAsAnInterface) {
  const std::string interface = unit.sysfs.add(keyboard()) + "/1-2:1.0";
  unit.sysfs.linkTo("/sys/bus/usb", interface + "/subsystem");
  unit.sysfs.writeAttribute(interface, "uevent", "DEVTYPE=usb_interface\nDRIVER=usbhid\n");
  EXPECT_EQ(saidOfAdding(interface), usbDevice(interface, {}));
  EXPECT_TRUE(unit.daemon().children().empty());
}

}  // namespace
