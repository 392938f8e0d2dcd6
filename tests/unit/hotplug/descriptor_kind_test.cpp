#include "hotplug/descriptor_kind.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

#include "sim/contract.h"
#include "sim/files.h"
#include "sim/usb_descriptors.h"
#include "support/descriptors.h"
#include "support/guarded_bytes.h"
#include "support/named_case.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"
#include "ulx/file_descriptor.h"
#include "unit/hotplug/recordings.h"

namespace {

using sim::bytes;
using sim::configuration;
using sim::deviceDescriptor;
using sim::endpoint;

// A "descriptors" file.
class DescriptorsFile {
 public:
  explicit DescriptorsFile(const std::string& content) { sim::writeFile(path(), content); }
  [[nodiscard]] std::string path() const { return directory_ / "descriptors"; }

 private:
  support::TemporaryDirectory directory_;
};

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
  const DescriptorsFile file(GetParam().descriptors);
  EXPECT_EQ(isKeyboardDescriptor(file.path()), GetParam().keyboard);
  EXPECT_EQ(isStorageDescriptor(file.path()), GetParam().storage);
}

using KindTest = bool(const std::string& path);

constexpr std::array<KindTest*, 2> bothTests{isKeyboardDescriptor, isStorageDescriptor};

TEST(DescriptorKind, TestsLeaveTheFileClosed) {
  const DescriptorsFile diskFile(sim::diskDescriptors());
  const DescriptorsFile keyboardFile(sim::keyboardDescriptors());
  const DescriptorsFile wrong(bytes({9, 2}) + std::string(16, '\0'));
  const auto before = support::openDescriptors();
  for (KindTest* test : bothTests) {
    (void)test(diskFile.path());
    (void)test(keyboardFile.path());
    EXPECT_THROW((void)test(wrong.path()), const char*);
    EXPECT_EQ(support::openDescriptors(), before);
  }
}

TEST(DescriptorKind, TestsThrowTheBareTextForAnotherDescriptorAtTheStartWhateverItsClass) {
  std::string hub = deviceDescriptor(9);
  hub[1] = 2;
  for (const std::string& descriptors : {bytes({9, 2}) + sim::diskDescriptors(), hub}) {
    const DescriptorsFile wrong(descriptors);
    for (KindTest* test : bothTests) {
      EXPECT_EQ(support::bareTextThrownBy([&] { (void)test(wrong.path()); }), contract::error::notADevice);
    }
  }
}

TEST(DescriptorKind, TestsThrowEndOfFileForLessThanADeviceDescriptor) {
  const std::string whole = deviceDescriptor();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const DescriptorsFile cut(whole.substr(0, size));
    for (KindTest* test : bothTests) {
      EXPECT_THROW((void)test(cut.path()), ulx::FileDescriptor::EndOfFile) << size;
    }
  }
}

TEST(DescriptorKind, TestsThrowWhatFailsWhenTheFileIsReached) {
  const support::TemporaryDirectory directory;
  const std::string absent = directory / "descriptors";
  for (KindTest* test : bothTests) {
    EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>([&] { (void)test(absent); }),
              "open(\"" + absent + "\")");
    EXPECT_EQ(support::contextThrownBy([&] { (void)test(directory.path()); }),
              "read(\"" + directory.path() + "\")");
  }
}

TEST(DescriptorKind, TestsDoNotLookAtTheLengthThatTheDeviceDescriptorClaims) {
  for (const char length : bytes({0, 1, 9, 27, 255})) {
    std::string mouse = device(interface(3, 1, 2));
    mouse[0] = length;
    EXPECT_FALSE(isKeyboardDescriptor(DescriptorsFile(mouse).path()));
    std::string stick = device(disk);
    stick[0] = length;
    EXPECT_TRUE(isStorageDescriptor(DescriptorsFile(stick).path()));
  }
}

TEST(DescriptorKind, IsKnownOfEveryRecordingCutAtEveryByte) {
  for (const Recording& recording : recordings) {
    const std::string whole = recording.descriptors();
    ASSERT_GE(whole.size(), deviceDescriptorSize) << recording.name;
    const DescriptorsFile file(whole);
    for (std::size_t size = whole.size(); size >= deviceDescriptorSize; --size) {
      std::filesystem::resize_file(file.path(), size);
      const bool isKeyboard = recording.noKeyboardFrom == never || size < recording.noKeyboardFrom;
      const bool isDisk =
          recording.diskFrom != never && size >= recording.diskFrom && size < recording.diskUntil;
      EXPECT_EQ(isKeyboardDescriptor(file.path()), isKeyboard) << recording.name << " cut at " << size;
      EXPECT_EQ(isStorageDescriptor(file.path()), isDisk) << recording.name << " cut at " << size;
    }
  }
}

TEST(DescriptorKind, TestsNeverReadBehindTheBytes) {
  for (const Recording& recording : recordings) {
    const std::string configurations = recording.descriptors().substr(deviceDescriptorSize);
    for (std::size_t size = 0; size <= configurations.size(); ++size) {
      const std::string copy = configurations.substr(0, size);
      const support::GuardedBytes guarded(copy);
      EXPECT_EQ(everyInterfaceIsKeyboard(guarded.bytes()), everyInterfaceIsKeyboard(descriptorBytes(copy)));
      EXPECT_EQ(hasSingleStorageInterface(guarded.bytes()), hasSingleStorageInterface(descriptorBytes(copy)));
    }
  }
}

}  // namespace
