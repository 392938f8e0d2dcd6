#include "hotplug/descriptor_tests.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>

#include "sim/files.h"
#include "sim/usb_descriptors.h"
#include "support/descriptors.h"
#include "support/guarded_bytes.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"
#include "ulx/file_descriptor.h"
#include "unit/hotplug/recordings.h"

namespace {

using sim::bytes;
using sim::configuration;
using sim::deviceDescriptor;

using Bytes = std::initializer_list<std::uint8_t>;

// A "descriptors" file.
class DescriptorsFile {
 public:
  explicit DescriptorsFile(const std::string& content) { sim::writeFile(path(), content); }
  [[nodiscard]] std::string path() const { return directory_ / "descriptors"; }

 private:
  support::TemporaryDirectory directory_;
};

bool isKeyboard(const std::string& content) {
  return isKeyboardDescriptor(DescriptorsFile(content).path());
}

bool isStorage(const std::string& content) {
  return isStorageDescriptor(DescriptorsFile(content).path());
}

std::string interface(std::uint8_t interfaceClass, std::uint8_t subclass, std::uint8_t protocol) {
  return sim::interface(interfaceClass, subclass, protocol);
}

std::string device(const std::string& interfaces) {
  return deviceDescriptor() + configuration(interfaces);
}

// The text that `call` throws as it is.
template <class Call>
std::string_view textThrownBy(Call call) {
  try {
    call();
  } catch (const char* text) {
    return text;
  }
  return "nothing";
}

using DescriptorTest = bool(const std::string& path);

constexpr std::array<DescriptorTest*, 2> bothTests{isKeyboardDescriptor, isStorageDescriptor};

TEST(KeyboardTest, TakesAHidInterfaceWithKeyboardProtocolBootOrNot) {
  EXPECT_TRUE(isKeyboard(device(interface(3, 1, 1))));
  EXPECT_TRUE(isKeyboard(device(interface(3, 0, 1))));
}

TEST(KeyboardTest, TakesADeviceWhoseEveryInterfaceIsOne) {
  EXPECT_TRUE(isKeyboard(device(interface(3, 1, 1) + sim::endpoint(3) + interface(3, 0, 1))));
}

TEST(KeyboardTest, TakesADeviceWithoutInterfaces) {
  EXPECT_TRUE(isKeyboard(deviceDescriptor()));
  EXPECT_TRUE(isKeyboard(device("")));
}

TEST(KeyboardTest, RefusesAnyOtherClassOrProtocol) {
  EXPECT_FALSE(isKeyboard(device(interface(3, 1, 2))));
  EXPECT_FALSE(isKeyboard(device(interface(3, 1, 0))));
  EXPECT_FALSE(isKeyboard(device(interface(8, 1, 1))));
}

TEST(KeyboardTest, RefusesADeviceOfWhichOneInterfaceIsNone) {
  EXPECT_FALSE(isKeyboard(device(interface(3, 1, 1) + interface(3, 1, 2))));
  EXPECT_FALSE(isKeyboard(device(interface(255, 0, 0) + interface(3, 1, 1))));
}

TEST(KeyboardTest, RefusesADeviceWithAClassOfItsOwn) {
  for (const std::uint8_t deviceClass : Bytes{3, 9, 0xEF, 0xFF}) {
    EXPECT_FALSE(isKeyboard(deviceDescriptor(deviceClass) + configuration(interface(3, 1, 1))));
    EXPECT_FALSE(isKeyboard(deviceDescriptor(deviceClass)));
  }
}

TEST(KeyboardTest, DoesNotCountConfigurations) {
  EXPECT_TRUE(isKeyboard(deviceDescriptor(0, 2) + configuration(interface(3, 1, 1))));
}

TEST(StorageTest, TakesABulkOnlyInterfaceWithScsiOrAtapiCommands) {
  EXPECT_TRUE(isStorage(device(interface(8, 6, 0x50))));
  EXPECT_TRUE(isStorage(device(interface(8, 2, 0x50))));
}

TEST(StorageTest, RefusesAnyOtherClassCommandSetOrTransport) {
  EXPECT_FALSE(isStorage(device(interface(3, 6, 0x50))));
  EXPECT_FALSE(isStorage(device(interface(8, 5, 0x50))));
  EXPECT_FALSE(isStorage(device(interface(8, 1, 0x50))));
  EXPECT_FALSE(isStorage(device(interface(8, 6, 0x62))));
  EXPECT_FALSE(isStorage(device(interface(8, 6, 0x00))));
}

TEST(StorageTest, RefusesADeviceWithoutInterfaces) {
  EXPECT_FALSE(isStorage(deviceDescriptor()));
  EXPECT_FALSE(isStorage(device("")));
}

TEST(StorageTest, RefusesTwoInterfacesAndTwoSettingsOfOne) {
  const std::string disk = interface(8, 6, 0x50);
  EXPECT_FALSE(isStorage(device(disk + disk)));
  EXPECT_FALSE(isStorage(device(disk + sim::interface(8, 6, 0x50, 0, 1))));
  EXPECT_FALSE(isStorage(device(disk + disk + disk)));
}

TEST(StorageTest, RefusesADiskThatIsSomethingElseToo) {
  EXPECT_FALSE(isStorage(device(interface(8, 6, 0x50) + interface(3, 1, 1))));
  EXPECT_FALSE(isStorage(device(interface(3, 1, 1) + interface(8, 6, 0x50))));
}

TEST(StorageTest, RefusesADeviceWithAClassOfItsOwn) {
  EXPECT_FALSE(isStorage(deviceDescriptor(8) + configuration(interface(8, 6, 0x50))));
}

TEST(StorageTest, RefusesAnyOtherNumberOfConfigurationsThanOne) {
  for (const std::uint8_t configurations : Bytes{0, 2, 255}) {
    EXPECT_FALSE(isStorage(deviceDescriptor(0, configurations) + configuration(interface(8, 6, 0x50))));
  }
}

TEST(DescriptorTests, LeaveTheFileClosed) {
  const DescriptorsFile disk(sim::diskDescriptors());
  const DescriptorsFile keyboard(sim::keyboardDescriptors());
  const DescriptorsFile wrong(bytes({9, 2}) + std::string(16, '\0'));
  const auto before = support::openDescriptors();
  for (DescriptorTest* test : bothTests) {
    (void)test(disk.path());
    (void)test(keyboard.path());
    EXPECT_THROW((void)test(wrong.path()), const char*);
    EXPECT_EQ(support::openDescriptors(), before);
  }
}

TEST(DescriptorTests, ThrowTheBareTextForAnotherDescriptorAtTheStart) {
  const DescriptorsFile wrong(bytes({9, 2}) + sim::diskDescriptors());
  for (DescriptorTest* test : bothTests) {
    EXPECT_EQ(textThrownBy([&] { (void)test(wrong.path()); }), "Not a device descriptor");
  }
}

TEST(DescriptorTests, LookAtTheDescriptorsTypeBeforeItsClass) {
  std::string hub = deviceDescriptor(9);
  hub[1] = 2;
  const DescriptorsFile wrong(hub);
  for (DescriptorTest* test : bothTests) {
    EXPECT_EQ(textThrownBy([&] { (void)test(wrong.path()); }), "Not a device descriptor");
  }
}

TEST(DescriptorTests, ThrowEndOfFileForLessThanADeviceDescriptor) {
  const std::string whole = deviceDescriptor();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const DescriptorsFile cut(whole.substr(0, size));
    for (DescriptorTest* test : bothTests) {
      EXPECT_THROW((void)test(cut.path()), ulx::FileDescriptor::EndOfFile) << size;
    }
  }
}

TEST(DescriptorTests, ThrowWhatFailsWhenTheFileIsReached) {
  const support::TemporaryDirectory directory;
  const std::string absent = directory / "descriptors";
  for (DescriptorTest* test : bothTests) {
    EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>([&] { (void)test(absent); }),
              "open(\"" + absent + "\")");
    EXPECT_EQ(support::contextThrownBy([&] { (void)test(directory.path()); }),
              "read(\"" + directory.path() + "\")");
  }
}

TEST(DescriptorTests, DoNotAskForTheLengthThatTheDeviceDescriptorClaims) {
  for (const char length : bytes({0, 1, 9, 27, 255})) {
    std::string keyboard = device(interface(3, 1, 2));
    keyboard[0] = length;
    EXPECT_FALSE(isKeyboard(keyboard));
    std::string disk = device(interface(8, 6, 0x50));
    disk[0] = length;
    EXPECT_TRUE(isStorage(disk));
  }
}

TEST(DescriptorTests, SeeNothingBehindADescriptorOfNoLength) {
  const std::string end = bytes({0, 4, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_TRUE(isKeyboard(device(interface(3, 1, 1) + end + interface(8, 6, 0x50))));
  EXPECT_TRUE(isStorage(device(interface(8, 6, 0x50) + end + interface(3, 1, 1))));
  EXPECT_FALSE(isStorage(device(end + interface(8, 6, 0x50))));
}

TEST(DescriptorTests, KnowEveryRecordingCutAtEveryByte) {
  for (const Recording& recording : recordings) {
    const std::string whole = bytesOf(recording.hex);
    const DescriptorsFile file(whole);
    for (std::size_t size = whole.size(); size >= deviceDescriptorSize; --size) {
      std::filesystem::resize_file(file.path(), size);
      const bool keyboard = recording.noKeyboardFrom == never || size < recording.noKeyboardFrom;
      const bool disk =
          recording.diskFrom != never && size >= recording.diskFrom && size < recording.diskUntil;
      EXPECT_EQ(isKeyboardDescriptor(file.path()), keyboard) << recording.name << " cut at " << size;
      EXPECT_EQ(isStorageDescriptor(file.path()), disk) << recording.name << " cut at " << size;
    }
  }
}

TEST(DescriptorTests, NeverReadBehindTheBytes) {
  for (const Recording& recording : recordings) {
    const std::string configurations = bytesOf(recording.hex).substr(deviceDescriptorSize);
    for (std::size_t size = 0; size <= configurations.size(); ++size) {
      const support::GuardedBytes guarded(configurations.substr(0, size));
      const std::string copy = configurations.substr(0, size);
      EXPECT_EQ(everyInterfaceIsKeyboard(guarded.bytes()), everyInterfaceIsKeyboard(descriptorBytes(copy)));
      EXPECT_EQ(hasSingleStorageInterface(guarded.bytes()), hasSingleStorageInterface(descriptorBytes(copy)));
    }
  }
}

}  // namespace
