// How the daemon reads the attributes of a device, and what it does with one that it cannot read.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>
#include <ostream>
#include <string>

#include "sim/descriptor.h"
#include "sim/error.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

struct ClassText {
  std::string text;
  bool isHub;
};

std::ostream& operator<<(std::ostream& out, const ClassText& example) {
  return out << testing::PrintToString(example.text) << (example.isHub ? " of a hub" : " of no hub");
}

class DeviceClassAttribute : public Hotplug, public testing::WithParamInterface<ClassText> {};

TEST_P(DeviceClassAttribute, IsReadAsAHexadecimalNumber) {
  start();
  const sim::UsbDevice device = scanner();
  unit.sysfs.add(device);
  unit.sysfs.writeAttribute(device.directory(), "bDeviceClass", GetParam().text);
  EXPECT_EQ(saidOfAdding(device.directory()), GetParam().isHub ? usbDevice(device.directory(), {kind::hub})
                                                               : genericDevice(device.directory()));
}

INSTANTIATE_TEST_SUITE_P(Hub, DeviceClassAttribute,
                         testing::Values(ClassText{"09\n", true}, ClassText{"09", true}, ClassText{"9", true},
                                         ClassText{"0x09\n", true}, ClassText{"0X9", true},
                                         ClassText{" \t\n9\n", true}, ClassText{"+9", true},
                                         ClassText{"9 ", true}, ClassText{"09xyz\n", true},
                                         ClassText{"09\n\n", true}, ClassText{"0000000000000000009", true}));
INSTANTIATE_TEST_SUITE_P(NoHub, DeviceClassAttribute,
                         testing::Values(ClassText{"00\n", false}, ClassText{"", false},
                                         ClassText{"\n", false}, ClassText{"xyz\n", false},
                                         ClassText{"x9\n", false}, ClassText{"-9", false},
                                         ClassText{"90\n", false}, ClassText{"9f\n", false},
                                         ClassText{"109\n", false}, ClassText{"10009\n", false},
                                         ClassText{"100000009\n", false},
                                         ClassText{"10000000000000009\n", false}, ClassText{"ff\n", false},
                                         ClassText{"0\n9\n", false}));

/** A device whose attributes can be made unreadable, served by a daemon that reads them all. */
class UnreadableAttribute : public Hotplug, public testing::WithParamInterface<std::string> {
 protected:
  UnreadableAttribute() {
    start("all");
    unit.sysfs.add(scanner());
  }

  std::string file() { return directory + "/" + GetParam(); }

  static inline const std::string directory = scanner().directory();
};

INSTANTIATE_TEST_SUITE_P(Attribute, UnreadableAttribute,
                         testing::Values("uevent", "bDeviceClass", "descriptors"));

TEST_P(UnreadableAttribute, EndsTheEventWhenItIsADirectory) {
  unit.sysfs.removeAttribute(directory, GetParam());
  unit.sysfs.makeDirectory(file());
  EXPECT_EQ(saidOfAdding(directory), usbDevice(directory, {eventIgnored}));
}

TEST_P(UnreadableAttribute, EndsTheEventWhenItCannotBeOpened) {
  unit.sysfs.removeAttribute(directory, GetParam());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, file().c_str(), sizeof address.sun_path - 1);
  const sim::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(saidOfAdding(directory), usbDevice(directory, {eventIgnored}));
}

TEST_P(UnreadableAttribute, EndsTheEventWhenNobodyCanTellWhetherItIsThere) {
  unit.sysfs.makeLink(file(), GetParam());  // to itself
  EXPECT_EQ(saidOfAdding(directory), usbDevice(directory, {eventIgnored}));
}

TEST_P(UnreadableAttribute, DoesNotHinderTheNextDevice) {
  unit.sysfs.makeLink(file(), GetParam());
  saidOfAdding(directory);
  EXPECT_EQ(saidOfPlugging(scanner("1-2")), genericDevice(scanner("1-2").directory()));
}

class MissingDescriptors : public Hotplug, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(ClassList, MissingDescriptors, testing::Values("none", "keyboard", "scsi", "all"));

TEST_P(MissingDescriptors, EndTheEvent) {
  start(GetParam());
  const std::string directory = unit.sysfs.add(scanner());
  unit.sysfs.removeAttribute(directory, "descriptors");
  EXPECT_EQ(saidOfAdding(directory), usbDevice(directory, {eventIgnored}));
  EXPECT_TRUE(unit.daemon().children().empty());
}

using AttributeReading = Hotplug;

TEST_F(AttributeReading, EndsTheEventWhenTheDaemonMayOpenNoFile) {
  start("all");
  const pid_t daemon = unit.daemon().pid();
  rlimit former{};
  ASSERT_EQ(::prlimit(daemon, RLIMIT_NOFILE, nullptr, &former), 0);
  const rlimit none{.rlim_cur = 3, .rlim_max = former.rlim_max};
  ASSERT_EQ(::prlimit(daemon, RLIMIT_NOFILE, &none, nullptr), 0);
  EXPECT_EQ(saidOfPlugging(scanner()), usbDevice(scanner().directory(), {eventIgnored}));
  ASSERT_EQ(::prlimit(daemon, RLIMIT_NOFILE, &former, nullptr), 0);
  EXPECT_EQ(saidOfPlugging(scanner("1-2")), genericDevice(scanner("1-2").directory()));
}

TEST_F(AttributeReading, LeavesNoFileOpen) {
  start("all");
  const std::vector<int> before = unit.daemon().openDescriptors();
  saidOfPlugging(scanner());
  saidOfPlugging(keyboard());
  saidOfPlugging(disk());
  sim::UsbDevice broken = scanner("1-4");
  broken.descriptors = "short";
  saidOfPlugging(broken);
  broken.name = "1-5";
  broken.descriptors = sim::configuration("") + sim::configuration("");
  saidOfPlugging(broken);
  EXPECT_EQ(unit.daemon().openDescriptors(), before);
}

}  // namespace
