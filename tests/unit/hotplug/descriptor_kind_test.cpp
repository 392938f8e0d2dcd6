#include "hotplug/descriptor_kind.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "sim/contract.h"
#include "sim/usb_descriptors.h"
#include "support/guarded_bytes.h"
#include "support/named_case.h"
#include "support/thrown.h"
#include "ulx/file_descriptor.h"
#include "unit/hotplug/recordings.h"

namespace {

using sim::bytes;
using sim::configuration;
using sim::deviceDescriptor;
using sim::endpoint;

bool isKeyboard(const std::string& descriptors) {
  return isKeyboardDescriptor(descriptorBytes(descriptors));
}

bool isStorage(const std::string& descriptors) {
  return isStorageDescriptor(descriptorBytes(descriptors));
}

std::string interface(std::uint8_t interfaceClass, std::uint8_t subclass, std::uint8_t protocol) {
  return sim::interface(interfaceClass, subclass, protocol);
}

// A device of one configuration with these interfaces.
std::string device(const std::string& interfaces) {
  return deviceDescriptor() + configuration(interfaces);
}

const std::string keyboard = interface(3, 1, 1);
const std::string disk = interface(8, 6, 0x50);
const std::string noLength = bytes({0, 4, 0, 0, 0, 0, 0, 0, 0});

struct KindCase : support::NamedCase {
  std::string descriptors;
  bool keyboard;
  bool storage;
};

class DescriptorKindOf : public testing::TestWithParam<KindCase> {};

INSTANTIATE_TEST_SUITE_P(
    Device, DescriptorKindOf,
    testing::Values(
        KindCase{{"KeyboardWithBootInterface"}, device(keyboard), true, false},
        KindCase{{"KeyboardWithoutBootInterface"}, device(interface(3, 0, 1)), true, false},
        KindCase{{"TwoKeyboards"}, device(keyboard + endpoint(3) + interface(3, 0, 1)), true, false},
        KindCase{{"NoConfigurations"}, deviceDescriptor(), true, false},
        KindCase{{"NoInterfaces"}, device(""), true, false},
        KindCase{{"Mouse"}, device(interface(3, 1, 2)), false, false},
        KindCase{{"HidWithoutProtocol"}, device(interface(3, 1, 0)), false, false},
        KindCase{{"OtherClassWithKeyboardsCodes"}, device(interface(8, 1, 1)), false, false},
        KindCase{{"KeyboardAndMouse"}, device(keyboard + interface(3, 1, 2)), false, false},
        KindCase{{"VendorAndKeyboard"}, device(interface(255, 0, 0) + keyboard), false, false},
        KindCase{{"KeyboardOfHidClass"}, deviceDescriptor(3) + configuration(keyboard), false, false},
        KindCase{{"KeyboardOfHubClass"}, deviceDescriptor(9) + configuration(keyboard), false, false},
        KindCase{{"KeyboardOfMixedClass"}, deviceDescriptor(0xEF) + configuration(keyboard), false, false},
        KindCase{{"KeyboardOfVendorClass"}, deviceDescriptor(0xFF) + configuration(keyboard), false, false},
        KindCase{{"NoConfigurationsOfHidClass"}, deviceDescriptor(3), false, false},
        KindCase{{"NoConfigurationsOfVendorClass"}, deviceDescriptor(0xFF), false, false},
        KindCase{
            {"KeyboardWithTwoConfigurations"}, deviceDescriptor(0, 2) + configuration(keyboard), true, false},
        KindCase{{"DiskWithScsiCommands"}, device(disk), false, true},
        KindCase{{"DiskWithAtapiCommands"}, device(interface(8, 2, 0x50)), false, true},
        KindCase{{"OtherClassWithDisksCodes"}, device(interface(3, 6, 0x50)), false, false},
        KindCase{{"DiskWithObsoleteCommands"}, device(interface(8, 5, 0x50)), false, false},
        KindCase{{"DiskWithReducedCommands"}, device(interface(8, 1, 0x50)), false, false},
        KindCase{{"DiskWithStreams"}, device(interface(8, 6, 0x62)), false, false},
        KindCase{{"DiskWithOldTransport"}, device(interface(8, 6, 0x00)), false, false},
        KindCase{{"TwoDisks"}, device(disk + disk), false, false},
        KindCase{{"ThreeDisks"}, device(disk + disk + disk), false, false},
        KindCase{{"DiskWithTwoSettings"}, device(disk + sim::interface(8, 6, 0x50, 0, 1)), false, false},
        KindCase{{"DiskAndKeyboard"}, device(disk + keyboard), false, false},
        KindCase{{"KeyboardAndDisk"}, device(keyboard + disk), false, false},
        KindCase{{"DiskOfStorageClass"}, deviceDescriptor(8) + configuration(disk), false, false},
        KindCase{{"DiskWithNoConfigurations"}, deviceDescriptor(0, 0) + configuration(disk), false, false},
        KindCase{{"DiskWithTwoConfigurations"}, deviceDescriptor(0, 2) + configuration(disk), false, false},
        KindCase{{"DiskWith255Configurations"}, deviceDescriptor(0, 255) + configuration(disk), false, false},
        KindCase{{"DiskBehindNoLength"}, device(keyboard + noLength + disk), true, false},
        KindCase{{"KeyboardBehindNoLength"}, device(disk + noLength + keyboard), false, true},
        KindCase{{"DiskBehindNothingButNoLength"}, device(noLength + disk), true, false}));

TEST_P(DescriptorKindOf, IsKnown) {
  EXPECT_EQ(isKeyboard(GetParam().descriptors), GetParam().keyboard);
  EXPECT_EQ(isStorage(GetParam().descriptors), GetParam().storage);
}

using KindTest = bool(const std::string& descriptors);

constexpr std::array<KindTest*, 2> bothTests{isKeyboard, isStorage};

TEST(DescriptorKind, TestsThrowTheBareTextForAnotherDescriptorAtTheStartWhateverItsClass) {
  std::string hub = deviceDescriptor(9);
  hub[1] = 2;
  for (const std::string& descriptors : {bytes({9, 2}) + sim::diskDescriptors(), hub}) {
    for (KindTest* test : bothTests) {
      EXPECT_EQ(support::bareTextThrownBy([&] { (void)test(descriptors); }), contract::error::notADevice);
    }
  }
}

TEST(DescriptorKind, TestsThrowEndOfFileForLessThanADeviceDescriptor) {
  const std::string whole = deviceDescriptor();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    for (KindTest* test : bothTests) {
      EXPECT_THROW((void)test(whole.substr(0, size)), ulx::FileDescriptor::EndOfFile) << size;
    }
  }
}

TEST(DescriptorKind, TestsDoNotLookAtTheLengthThatTheDeviceDescriptorClaims) {
  for (const char length : bytes({0, 1, 9, 27, 255})) {
    std::string mouse = device(interface(3, 1, 2));
    mouse[0] = length;
    EXPECT_FALSE(isKeyboard(mouse));
    std::string stick = device(disk);
    stick[0] = length;
    EXPECT_TRUE(isStorage(stick));
  }
}

TEST(DescriptorKind, IsKnownOfEveryRecordingCutAtEveryByte) {
  for (const Recording& recording : recordings) {
    const std::string whole = recording.descriptors();
    ASSERT_GE(whole.size(), deviceDescriptorSize) << recording.name;
    for (std::size_t size = whole.size(); size >= deviceDescriptorSize; --size) {
      const std::string cut = whole.substr(0, size);
      const bool keyboardExpected = recording.noKeyboardFrom == never || size < recording.noKeyboardFrom;
      const bool diskExpected =
          recording.diskFrom != never && size >= recording.diskFrom && size < recording.diskUntil;
      EXPECT_EQ(isKeyboard(cut), keyboardExpected) << recording.name << " cut at " << size;
      EXPECT_EQ(isStorage(cut), diskExpected) << recording.name << " cut at " << size;
    }
  }
}

TEST(DescriptorKind, TestsNeverReadBehindTheBytes) {
  for (const Recording& recording : recordings) {
    const std::string whole = recording.descriptors();
    for (std::size_t size = deviceDescriptorSize; size <= whole.size(); ++size) {
      const std::string cut = whole.substr(0, size);
      const support::GuardedBytes guarded(cut);
      EXPECT_EQ(isKeyboardDescriptor(guarded.bytes()), isKeyboard(cut));
      EXPECT_EQ(isStorageDescriptor(guarded.bytes()), isStorage(cut));
    }
  }
}

}  // namespace
