// What the daemon takes a device for by its "descriptors" file, with workers of their own for keyboards and disks.

#include <string>

#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

using support::deviceWithRaw;

namespace debug = contract::debug;
using sim::bytes;
using sim::configuration;
using sim::deviceDescriptor;
using sim::interface;

constexpr std::uint8_t hid = sim::usb_class::hid;
constexpr std::uint8_t storage = sim::usb_class::massStorage;

const std::string device = deviceDescriptor();
const std::string mouseInterface = interface(hid, 1, 2);
const std::string keyboardInterface = interface(hid, 1, 1);
const std::string diskInterface = interface(storage, 6, 0x50);

/** Longer than any buffer. */
std::string filler() {
  std::string descriptors;
  for (int i = 0; i < 300; ++i) {
    descriptors += bytes({255, 0x24}) + std::string(253, '\4');
  }
  return descriptors;
}

/** With one configuration that holds these descriptors. */
std::string with(const std::string& content) {
  return device + configuration(content);
}

std::string beginningWith(std::uint8_t length, const std::string& descriptor) {
  return bytes({length}) + descriptor.substr(1);
}

struct Content : support::NamedCase {
  std::string descriptors;
  const char* kind;
};

const std::vector<Content> contents = {
    {"BootKeyboard", with(keyboardInterface), debug::keyboard},
    {"KeyboardWithoutBoot", with(interface(hid, 0, 1)), debug::keyboard},
    {"KeyboardOfAnOddSubclass", with(interface(hid, 0xff, 1)), debug::keyboard},
    {"NoInterface", with(""), debug::keyboard},
    {"Mouse", with(mouseInterface), debug::generic},
    {"KeyboardAndDisk", with(keyboardInterface + diskInterface), debug::generic},
    {"KeyboardWithAnotherAlternateSetting", with(keyboardInterface + interface(hid, 1, 0, 0, 1)),
     debug::generic},
    {"ScsiDisk", with(diskInterface), debug::storage},
    {"DiskOfOddNumbers", with(interface(storage, 6, 0x50, 3, 2)), debug::storage},
    {"DiskOfOtherCommands", with(interface(storage, 3, 0x50)), debug::generic},
    {"DiskOfMoreCommands", with(interface(storage, 7, 0x50)), debug::generic},
    {"DiskWithAnAlternateSetting", with(diskInterface + interface(storage, 6, 0x62, 0, 1)), debug::generic},
    {"DiskOfTwoConfigurations", deviceDescriptor(0, 2) + configuration(diskInterface), debug::generic},
    {"DiskByTheClassOfTheDevice", deviceDescriptor(0xef) + configuration(diskInterface), debug::generic},
    {"DiskBehindAnOddDeviceDescriptor", beginningWith(0, device) + configuration(diskInterface),
     debug::storage},
    {"KeyboardBeforeALongFiller", device + keyboardInterface + filler(), debug::keyboard},
    {"MouseBehindALongFiller", device + keyboardInterface + filler() + mouseInterface, debug::generic},
    {"DiskBehindALongFiller", device + filler() + diskInterface, debug::storage},
    {"EmptyFile", "", debug::eventIgnored},
    {"CutDeviceDescriptor", device.substr(0, device.size() - 1), debug::eventIgnored},
};

class DescriptorFile : public support::Hotplug, public testing::WithParamInterface<Content> {};

INSTANTIATE_TEST_SUITE_P(Contents, DescriptorFile, testing::ValuesIn(contents),
                         testing::PrintToStringParamName());

TEST_P(DescriptorFile, MakesTheKind) {
  start("all");
  EXPECT_EQ(kindOf(deviceWithRaw(GetParam().descriptors)), GetParam().kind);
}

TEST_P(DescriptorFile, MakesNoKindWhereNoClassIsServed) {
  start("none");
  EXPECT_EQ(kindOf(deviceWithRaw(GetParam().descriptors)), debug::generic);
}

class DescriptorFileOfAnotherDescriptor : public support::Hotplug,
                                          public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(ClassList, DescriptorFileOfAnotherDescriptor,
                         testing::Values("keyboard", "scsi", "all"));

TEST_P(DescriptorFileOfAnotherDescriptor, EndsTheEvent) {
  start(GetParam());
  EXPECT_EQ(kindOf(deviceWithRaw(configuration(diskInterface + keyboardInterface))), debug::eventIgnored);
  for (const unsigned type : {0U, 2U, 4U, 5U, 0x81U, 255U}) {
    std::string foreign = device;
    foreign[1] = static_cast<char>(type);
    EXPECT_EQ(kindOf(deviceWithRaw(foreign + configuration(keyboardInterface))), debug::eventIgnored)
        << "type " << type;
  }
  EXPECT_TRUE(hasNoWorker());
}

}  // namespace
