// Which descriptors make a keyboard, and which make a disk.

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "system/support/hotplug.h"

namespace {

using sim::configuration;
using sim::deviceDescriptor;
using sim::endpoint;
using sim::interface;

constexpr std::uint8_t hid = sim::usb_class::hid;
constexpr std::uint8_t disk = sim::usb_class::massStorage;
constexpr std::uint8_t perInterface = sim::usb_class::perInterface;
constexpr std::uint8_t bulkOnly = 0x50;

struct Example {
  std::string name;
  std::string descriptors;
  const char* kind;
};

std::ostream& operator<<(std::ostream& out, const Example& example) {
  return out << example.name;
}

std::string nameOf(const testing::TestParamInfo<Example>& info) {
  return info.param.name;
}

/** With one configuration that holds these descriptors. */
std::string with(const std::string& content) {
  return deviceDescriptor() + configuration(content);
}

class DescriptorKind : public Hotplug, public testing::WithParamInterface<Example> {
 protected:
  void expectKindWhereServed(const std::string& classList) {
    const Example& example = GetParam();
    start(classList);
    sim::UsbDevice device;
    device.descriptors = example.descriptors;
    EXPECT_EQ(kindOf(device), example.kind);
  }
};

class KeyboardExample : public DescriptorKind {};

TEST_P(KeyboardExample, IsTakenForWhatItIs) {
  expectKindWhereServed("keyboard");
}

INSTANTIATE_TEST_SUITE_P(
    Keyboards, KeyboardExample,
    testing::Values(Example{"Boot", with(interface(hid, 1, 1)), kind::keyboard},
                    Example{"NoBoot", with(interface(hid, 0, 1)), kind::keyboard},
                    Example{"OddSubclass", with(interface(hid, 0xff, 1)), kind::keyboard},
                    Example{"Two", with(interface(hid, 1, 1, 0) + interface(hid, 0, 1, 1)), kind::keyboard},
                    Example{"AlternateSetting", with(interface(hid, 1, 1, 0, 0) + interface(hid, 1, 1, 0, 1)),
                            kind::keyboard},
                    Example{"TwoConfigurations",
                            deviceDescriptor(perInterface, 2) + configuration(interface(hid, 1, 1)) +
                                configuration(interface(hid, 1, 1)),
                            kind::keyboard},
                    Example{"NoInterface", with(""), kind::keyboard},
                    Example{"NoConfiguration", deviceDescriptor(), kind::keyboard},
                    Example{"ClassSpecificDescriptors",
                            with(interface(hid, 1, 1) + sim::bytes({9, 0x21, 4, 4, 4, 8, 6, 0x50, 4}) +
                                 endpoint(3)),
                            kind::keyboard}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    NotKeyboards, KeyboardExample,
    testing::Values(
        Example{"Mouse", with(interface(hid, 1, 2)), kind::generic},
        Example{"OtherHid", with(interface(hid, 0, 0)), kind::generic},
        Example{"OtherClass", with(interface(sim::usb_class::vendor, 1, 1)), kind::generic},
        Example{"KeyboardAndMouse", with(interface(hid, 1, 1, 0) + interface(hid, 1, 2, 1)), kind::generic},
        Example{"MouseAndKeyboard", with(interface(hid, 1, 2, 0) + interface(hid, 1, 1, 1)), kind::generic},
        Example{"KeyboardAndDisk", with(interface(hid, 1, 1, 0) + interface(disk, 6, bulkOnly, 1)),
                kind::generic},
        Example{"OtherAlternateSetting", with(interface(hid, 1, 1, 0, 0) + interface(hid, 1, 0, 0, 1)),
                kind::generic},
        Example{"MouseInSecondConfiguration",
                deviceDescriptor(perInterface, 2) + configuration(interface(hid, 1, 1)) +
                    configuration(interface(hid, 1, 2)),
                kind::generic},
        Example{"ClassOfTheDevice", deviceDescriptor(hid) + configuration(interface(hid, 1, 1)),
                kind::generic},
        Example{"InterfaceAssociation", deviceDescriptor(0xef) + configuration(interface(hid, 1, 1)),
                kind::generic},
        Example{"ClassOfTheDeviceWithoutInterface", deviceDescriptor(0xff), kind::generic}),
    nameOf);

class StorageExample : public DescriptorKind {};

TEST_P(StorageExample, IsTakenForWhatItIs) {
  expectKindWhereServed("scsi");
}

INSTANTIATE_TEST_SUITE_P(
    Disks, StorageExample,
    testing::Values(Example{"Scsi", with(interface(disk, 6, bulkOnly)), kind::storage},
                    Example{"Atapi", with(interface(disk, 2, bulkOnly)), kind::storage},
                    Example{"OddNumbers", with(interface(disk, 6, bulkOnly, 3, 2)), kind::storage},
                    Example{"Endpoints",
                            with(interface(disk, 6, bulkOnly) + endpoint(2, 0x81) + endpoint(2, 0x02)),
                            kind::storage},
                    Example{"ClassSpecificDescriptors",
                            with(sim::bytes({9, 0x24, 0, 0, 2, 3, 1, 1, 0}) + interface(disk, 6, bulkOnly) +
                                 sim::bytes({4, 0x24, 4, 3})),
                            kind::storage},
                    Example{"NoConfigurationDescriptor", deviceDescriptor() + interface(disk, 6, bulkOnly),
                            kind::storage}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    NotDisks, StorageExample,
    testing::Values(
        Example{"OtherCommands5", with(interface(disk, 5, bulkOnly)), kind::generic},
        Example{"OtherCommands1", with(interface(disk, 1, bulkOnly)), kind::generic},
        Example{"OtherCommands3", with(interface(disk, 3, bulkOnly)), kind::generic},
        Example{"OtherCommands7", with(interface(disk, 7, bulkOnly)), kind::generic},
        Example{"OtherTransport", with(interface(disk, 6, 0x62)), kind::generic},
        Example{"OtherTransport0", with(interface(disk, 6, 0)), kind::generic},
        Example{"OtherClass", with(interface(sim::usb_class::vendor, 6, bulkOnly)), kind::generic},
        Example{"NoInterface", with(""), kind::generic},
        Example{"NoConfiguration", deviceDescriptor(perInterface, 0), kind::generic},
        Example{"Two", with(interface(disk, 6, bulkOnly, 0) + interface(disk, 6, bulkOnly, 1)),
                kind::generic},
        Example{"AlternateSetting", with(interface(disk, 6, bulkOnly, 0, 0) + interface(disk, 6, 0x50, 0, 1)),
                kind::generic},
        Example{"OtherAlternateSetting",
                with(interface(disk, 6, bulkOnly, 0, 0) + interface(disk, 6, 0x62, 0, 1)), kind::generic},
        Example{"DiskAndKeyboard", with(interface(disk, 6, bulkOnly, 0) + interface(hid, 1, 1, 1)),
                kind::generic},
        Example{"TwoConfigurations",
                deviceDescriptor(perInterface, 2) + configuration(interface(disk, 6, bulkOnly)),
                kind::generic},
        Example{"NoConfigurationCounted",
                deviceDescriptor(perInterface, 0) + configuration(interface(disk, 6, bulkOnly)),
                kind::generic},
        Example{"ClassOfTheDevice", deviceDescriptor(disk) + configuration(interface(disk, 6, bulkOnly)),
                kind::generic},
        Example{"ClassOfTheDeviceIsMisc",
                deviceDescriptor(0xef) + configuration(interface(disk, 6, bulkOnly)), kind::generic}),
    nameOf);

}  // namespace
