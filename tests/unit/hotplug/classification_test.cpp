#include "hotplug/classification.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "ctrl/device_classes.h"
#include "sim/contract.h"
#include "sim/sysfs.h"
#include "support/named_case.h"
#include "support/output.h"
#include "support/private_world.h"
#include "support/thrown.h"
#include "ulx/file_descriptor.h"

namespace {

// Lays the device out; the directory that is to be classified.
using Layout = std::function<std::string(sim::Sysfs& sysfs)>;

Layout deviceWith(const std::string& descriptors, const std::string& deviceClass = "00") {
  return [=](sim::Sysfs& sysfs) {
    return sysfs.add(sim::UsbDevice{.deviceClass = deviceClass, .descriptors = descriptors});
  };
}

std::string hiddevNode(sim::Sysfs& sysfs) {
  return sysfs.add(sim::HiddevNode{.usbDevice = sysfs.add(sim::UsbDevice{})});
}

std::string scsiNode(sim::Sysfs& sysfs) {
  return sysfs.add(sim::ScsiGenericNode{.usbDevice = sysfs.add(sim::UsbDevice{})});
}

std::string interfaceOfADevice(sim::Sysfs& sysfs) {
  return sysfs.add(sim::UsbDevice{.uevent = "DEVTYPE=usb_interface\n"});
}

struct KindCase : support::NamedCase {
  Layout layOut;
  std::uint32_t classes;
  DeviceKind kind;
};

class ClassificationOf : public support::PrivateWorld, public testing::WithParamInterface<KindCase> {};

INSTANTIATE_TEST_SUITE_P(
    A, ClassificationOf,
    testing::Values(
        KindCase{{"Device"}, deviceWith(sim::vendorDeviceDescriptors()), allClasses, DeviceKind::generic},
        KindCase{{"Hub"}, deviceWith("", "09"), allClasses, DeviceKind::hub},
        KindCase{
            {"HubThatIsAKeyboard"}, deviceWith(sim::keyboardDescriptors(), "9"), allClasses, DeviceKind::hub},
        KindCase{{"Keyboard"}, deviceWith(sim::keyboardDescriptors()), keyboardClass, DeviceKind::keyboard},
        KindCase{
            {"KeyboardUnserved"}, deviceWith(sim::keyboardDescriptors()), storageClass, DeviceKind::generic},
        KindCase{{"Disk"}, deviceWith(sim::diskDescriptors()), storageClass, DeviceKind::storage},
        KindCase{{"DiskUnserved"}, deviceWith(sim::diskDescriptors()), keyboardClass, DeviceKind::generic},
        KindCase{{"HiddevNode"}, hiddevNode, keyboardClass, DeviceKind::hid},
        KindCase{{"ScsiNode"}, scsiNode, storageClass, DeviceKind::scsiGeneric},
        KindCase{{"ScsiNodeUnserved"}, scsiNode, keyboardClass, DeviceKind::ignored},
        KindCase{{"Interface"}, interfaceOfADevice, allClasses, DeviceKind::ignored}));

TEST_P(ClassificationOf, IsItsKind) {
  sim::Sysfs sysfs;
  EXPECT_EQ(classify(GetParam().classes, GetParam().layOut(sysfs)), GetParam().kind);
}

using Classification = support::PrivateWorld;

TEST_F(Classification, WaitsThreeSecondsForWhatSysfsDoesNotShow) {
  sim::Sysfs sysfs;
  EXPECT_EQ(classify(noClasses, hiddevNode(sysfs)), DeviceKind::undetermined);
}

TEST_F(Classification, LogsTheSubsystemAlsoOfADeviceWithoutOne) {
  sim::Sysfs sysfs;
  const std::string node = scsiNode(sysfs);
  sysfs.makeDirectory("/sys/devices/none");
  EXPECT_EQ(support::debugLogDuring([&] {
              EXPECT_EQ(classify(allClasses, node), DeviceKind::scsiGeneric);
              EXPECT_EQ(classify(allClasses, "/sys/devices/none"), DeviceKind::ignored);
            }),
            support::tagged({contract::debug::subsystem("scsi_generic"), contract::debug::subsystem("")}));
}

TEST_F(Classification, ThrowsWhatCannotBeReadOfADevice) {
  sim::Sysfs sysfs;
  const std::string device = deviceWith("short")(sysfs);
  EXPECT_THROW((void)classify(keyboardClass, device), ulx::FileDescriptor::EndOfFile);
  sysfs.removeAttribute(device, "descriptors");
  EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>(
                [&device] { (void)classify(storageClass, device); }),
            "open(\"" + device + "/descriptors\")");
  EXPECT_EQ(classify(noClasses, device), DeviceKind::generic) << "descriptors are for classes";
  sysfs.makeDirectory("/sys/devices/odd/subsystem");
  EXPECT_EQ(support::contextThrownBy([] { (void)classify(noClasses, "/sys/devices/odd"); }), "readlink()");
}

}  // namespace
