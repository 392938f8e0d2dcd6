// How the daemon reads the attributes of a device, and what it does with one that it cannot read.

#include <sys/resource.h>
#include <sys/socket.h>

#include <functional>
#include <string>
#include <tuple>

#include "sim/descriptor.h"
#include "sim/unix_socket.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

using support::genericDevice;
using support::Hotplug;
using support::scanner;
using support::usbDevice;

namespace debug = contract::debug;

const std::string directory = scanner().directory();

class AttributeReading : public Hotplug {
 protected:
  support::Lines saidOfClass(const std::string& text) {
    unit.sysfs.writeAttribute(unit.sysfs.add(scanner()), "bDeviceClass", text);
    return saidOfAdding(directory);
  }
};

class AttributeReadingOfAHub : public AttributeReading, public testing::WithParamInterface<std::string> {};
class AttributeReadingOfNoHub : public AttributeReading, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(Class, AttributeReadingOfAHub,
                         testing::Values("09\n", "9", " \t\n9\n", "+9", "9 ", "0X9", "09xyz\n",
                                         "0000000000000000009"));
INSTANTIATE_TEST_SUITE_P(Class, AttributeReadingOfNoHub,
                         testing::Values("00\n", "", "x9\n", "-9", "90\n", "109\n", "100000009\n",
                                         "10000000000000009\n", "0\n9\n"));

TEST_P(AttributeReadingOfAHub, FindsTheHexadecimalNumber9) {
  start();
  EXPECT_EQ(saidOfClass(GetParam()), usbDevice(directory, {debug::hub}));
}

TEST_P(AttributeReadingOfNoHub, FindsAnotherNumber) {
  start();
  EXPECT_EQ(saidOfClass(GetParam()), genericDevice(directory));
}

/** What stands in the place of an attribute. */
struct Obstacle {
  std::string name;
  std::function<void(sim::Sysfs& sysfs, const std::string& path)> put;
};

void bindSocket(sim::Sysfs& /*sysfs*/, const std::string& path) {
  const sim::Descriptor socket = sim::bindTo(path, SOCK_STREAM);
}

const std::vector<Obstacle> obstacles = {
    {"ADirectory", [](sim::Sysfs& sysfs, const std::string& path) { sysfs.makeDirectory(path); }},
    {"ASocket", bindSocket},
    {"ALinkToItself", [](sim::Sysfs& sysfs, const std::string& path) { sysfs.makeLink(path, path); }},
};

class AttributeReadingFailure : public Hotplug,
                                public testing::WithParamInterface<std::tuple<std::string, Obstacle>> {};

INSTANTIATE_TEST_SUITE_P(Attributes, AttributeReadingFailure,
                         testing::Combine(testing::Values("uevent", "bDeviceClass", "descriptors"),
                                          testing::ValuesIn(obstacles)),
                         [](const auto& instance) {
                           return std::get<0>(instance.param) + "Is" + std::get<1>(instance.param).name;
                         });

TEST_P(AttributeReadingFailure, EndsTheEventAndHindersNoOtherDevice) {
  const auto& [attribute, obstacle] = GetParam();
  start("all");
  unit.sysfs.add(scanner());
  unit.sysfs.removeAttribute(directory, attribute);
  obstacle.put(unit.sysfs, directory + "/" + attribute);
  EXPECT_EQ(saidOfAdding(directory), usbDevice(directory, {debug::eventIgnored}));
  EXPECT_EQ(saidOfPlugging(scanner("1-2")), genericDevice(scanner("1-2").directory()));
}

class AttributeReadingWithoutDescriptors : public Hotplug, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(ClassList, AttributeReadingWithoutDescriptors,
                         testing::Values("none", "keyboard", "scsi", "all"));

TEST_P(AttributeReadingWithoutDescriptors, EndsTheEvent) {
  start(GetParam());
  unit.sysfs.removeAttribute(unit.sysfs.add(scanner()), "descriptors");
  EXPECT_EQ(saidOfAdding(directory), usbDevice(directory, {debug::eventIgnored}));
  EXPECT_TRUE(hasNoWorker());
}

TEST_F(AttributeReading, EndsTheEventWhenTheDaemonMayOpenNoFile) {
  start("all");
  const pid_t daemon = unit.daemon().pid();
  rlimit former{};
  ASSERT_EQ(::prlimit(daemon, RLIMIT_NOFILE, nullptr, &former), 0);
  const rlimit none{.rlim_cur = 3, .rlim_max = former.rlim_max};
  ASSERT_EQ(::prlimit(daemon, RLIMIT_NOFILE, &none, nullptr), 0);
  EXPECT_EQ(saidOfPlugging(scanner()), usbDevice(directory, {debug::eventIgnored}));
  ASSERT_EQ(::prlimit(daemon, RLIMIT_NOFILE, &former, nullptr), 0);
  EXPECT_EQ(saidOfPlugging(scanner("1-2")), genericDevice(scanner("1-2").directory()));
}

TEST_F(AttributeReading, LeavesNoFileOpen) {
  start("all");
  const std::vector<int> before = unit.daemon().openDescriptors();
  for (const sim::UsbDevice& device : {scanner(), support::keyboard(), support::disk()}) {
    unit.plug(device);
  }
  unit.plug(support::named(support::deviceWithRaw("short"), "1-4", "Short"));
  unit.plug(support::named(support::deviceWithRaw(sim::configuration("") + sim::configuration("")), "1-5",
                           "Foreign"));
  unit.settle();
  EXPECT_EQ(unit.daemon().openDescriptors(), before);
}

}  // namespace
