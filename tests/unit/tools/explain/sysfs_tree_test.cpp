#include "tools/explain/sysfs_tree.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "ctrl/device_classes.h"
#include "sim/sysfs.h"
#include "support/child.h"
#include "support/private_world.h"
#include "tools/explain/error.h"
#include "unit/tools/explain/described_device.h"

namespace {

class SysfsTreePlugged : public support::PrivateWorld {
 protected:
  sim::Sysfs sysfs_;
  std::string hub_ = sysfs_.add(sim::UsbDevice{.name = "1-2"});
};

TEST_F(SysfsTreePlugged, HasDevicesInTheOrderOfTheirNumbersButNoInterfaces) {
  const std::string tenth = sysfs_.add(sim::UsbDevice{.name = "1-10"});
  const std::string behind = sysfs_.add(sim::UsbDevice{.name = "1-2.1", .parent = hub_});
  sysfs_.add(sim::HiddevNode{.usbDevice = behind});
  EXPECT_EQ(explain::pluggedDevices(), (std::vector<std::string>{hub_, behind, tenth}));
}

TEST_F(SysfsTreePlugged, HasTheNodesOfADeviceWithoutThoseBehindIt) {
  const std::string behind = sysfs_.add(sim::UsbDevice{.name = "1-2.1", .parent = hub_});
  const std::string hid = sysfs_.add(sim::HiddevNode{.usbDevice = hub_, .name = "hiddev7"});
  const std::string disk = sysfs_.add(sim::ScsiGenericNode{.usbDevice = hub_, .name = "sg7"});
  const std::string hidBehind = sysfs_.add(sim::HiddevNode{.usbDevice = behind});
  sysfs_.makeDirectory(hub_ + "/power/sg1");
  sysfs_.makeDirectory(hub_ + "/sg2");
  const explain::SysfsTree tree;
  EXPECT_EQ(tree.nodes(hub_), (std::vector<std::string>{disk, hid}));
  EXPECT_EQ(tree.nodes(behind), (std::vector<std::string>{hidBehind}));
  EXPECT_EQ(tree.nodes("/sys/devices/gone"), std::vector<std::string>());
}

TEST_F(SysfsTreePlugged, GivesWorkersOnlyDirectoriesOfSysfs) {
  const explain::SysfsTree tree;
  EXPECT_EQ(tree.workerPath(hub_), hub_);
  EXPECT_EQ(tree.workerPath("/reports/sys/1-2"), "<device directory>");
}

TEST_F(SysfsTreePlugged, LeadsToThePhysicalDirectory) {
  EXPECT_EQ(explain::physicalPath("/sys/bus/usb/devices/1-2/."), hub_);
  EXPECT_THROW(static_cast<void>(explain::physicalPath("/sys/bus/usb/devices/1-3")), explain::Error);
}

class SysfsTreeDenied : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Attribute, SysfsTreeDenied,
                         testing::Values("descriptors", "uevent", "bDeviceClass", "speed", "product"),
                         [](const auto& attribute) { return attribute.param; });

TEST_P(SysfsTreeDenied, LeavesNothingToExplain) {
  support::inPrivateWorld([] {
    sim::Sysfs sysfs;
    const std::string device = sysfs.add(sim::UsbDevice{});
    std::filesystem::permissions(device + "/" + GetParam(), std::filesystem::perms::none);
    support::dropPrivileges();
    try {
      const explain::Device asked{
          .tree = std::make_shared<explain::SysfsTree>(), .path = device, .source = {}};
      explain::Circumstances circumstances = circumstancesWith(allClasses);
      circumstances.linkSpeed = "full";
      static_cast<void>(explainDevice(asked, circumstances));
      ADD_FAILURE() << "it was explained";
    } catch (const explain::Error& error) {
      EXPECT_EQ(error.what(),
                device + "/" + GetParam() + " cannot be read: Permission denied; the daemon runs as root");
    }
  });
}

}  // namespace
