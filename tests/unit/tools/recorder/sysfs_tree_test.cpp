#include "tools/recorder/sysfs_tree.h"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "support/child.h"
#include "unit/tools/recorder/thrown_text.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> pathsIn(const std::vector<sim::TreeEntry>& tree) {
  std::vector<std::string> paths;
  std::transform(tree.begin(), tree.end(), std::back_inserter(paths),
                 [](const sim::TreeEntry& entry) { return "/sys/" + entry.path; });
  return paths;
}

/** A device in a hub, which has a second one in another port. */
class SysfsTree : public testing::Test {
 protected:
  sim::Unit unit;
  std::string hub = "/sys/devices/platform/usb-host.0/usb1";
  std::string device = unit.sysfs.add(sim::UsbDevice{});

  SysfsTree() { unit.sysfs.writeAttribute(hub, "bDeviceClass", "09\n"); }

  [[nodiscard]] bool hasPath(const std::string& path) const {
    const std::vector<std::string> paths = pathsIn(recorder::treeOf(device));
    return std::find(paths.begin(), paths.end(), path) != paths.end();
  }

  [[nodiscard]] std::optional<std::string> contentOf(const std::string& path) const {
    for (const sim::TreeEntry& entry : recorder::treeOf(device)) {
      if ("/sys/" + entry.path == path) {
        return entry.content;
      }
    }
    return std::nullopt;
  }
};

TEST_F(SysfsTree, IsInTheOrderOfItsNamesWithDirectoriesBeforeWhatIsInThem) {
  const std::vector<std::string> expected = {hub,
                                             hub + "/bDeviceClass",
                                             device,
                                             device + "/bDeviceClass",
                                             device + "/descriptors",
                                             device + "/product",
                                             device + "/speed",
                                             device + "/subsystem",
                                             device + "/uevent",
                                             "/sys/bus/usb/devices/1-1"};
  EXPECT_EQ(pathsIn(recorder::treeOf(device)), expected);
}

TEST_F(SysfsTree, HoldsTheHubWithoutItsOtherDevices) {
  sim::UsbDevice other;
  other.name = "1-10";
  unit.sysfs.add(other);
  unit.sysfs.linkTo(hub, "/sys/bus/usb/devices/usb1");

  EXPECT_TRUE(hasPath(hub));
  EXPECT_TRUE(hasPath("/sys/bus/usb/devices/usb1"));
  EXPECT_FALSE(hasPath(other.directory()));
  EXPECT_FALSE(hasPath("/sys/bus/usb/devices/1-10"));
}

TEST_F(SysfsTree, HoldsAllHubsAboveFromTheOutermostOn) {
  sim::UsbDevice inner;
  inner.name = "1-1.4";
  inner.parent = device;
  const std::vector<std::string> paths = pathsIn(recorder::treeOf(unit.sysfs.add(inner)));

  EXPECT_EQ(paths.front(), hub);
  EXPECT_LT(std::find(paths.begin(), paths.end(), device),
            std::find(paths.begin(), paths.end(), inner.directory()));
  EXPECT_NE(std::find(paths.begin(), paths.end(), inner.directory()), paths.end());
}

TEST_F(SysfsTree, HoldsNothingAboveTheHubs) {
  EXPECT_FALSE(hasPath("/sys/devices/platform/usb-host.0"));
}

TEST_F(SysfsTree, HoldsOnlyAttributesThatIdentifyTheDevice) {
  unit.sysfs.writeAttribute(device, "serial", "S3CR3T\n");
  unit.sysfs.writeAttribute(device, "authorized", "1\n");
  unit.sysfs.writeAttribute(device, "idVendor", "0627\n");

  EXPECT_FALSE(hasPath(device + "/serial"));
  EXPECT_FALSE(hasPath(device + "/authorized"));
  EXPECT_EQ(contentOf(device + "/idVendor"), "0627\n");
}

TEST_F(SysfsTree, HoldsNoSerialNumbersInUeventFiles) {
  unit.sysfs.writeAttribute(device + "/hid", "uevent", "HID_UNIQ=S3CR3T\nMODALIAS=hid\n");
  unit.sysfs.writeAttribute(device + "/input", "uevent", "UNIQ=\"S3CR3T\"\nPROP=0\n");

  EXPECT_EQ(contentOf(device + "/hid/uevent"), "HID_UNIQ=\nMODALIAS=hid\n");
  EXPECT_EQ(contentOf(device + "/input/uevent"), "UNIQ=\"\"\nPROP=0\n");
}

TEST_F(SysfsTree, HoldsNoBatteriesWhichMayBeNamedAfterASerialNumber) {
  const std::string battery = device + "/hid/power_supply/hid-S3CR3T-battery";
  unit.sysfs.writeAttribute(battery, "uevent", "POWER_SUPPLY_NAME=hid-S3CR3T-battery\n");
  unit.sysfs.linkTo(battery, "/sys/class/power_supply/hid-S3CR3T-battery");

  for (const sim::TreeEntry& entry : recorder::treeOf(device)) {
    EXPECT_EQ((entry.path + entry.content).find("S3CR3T"), std::string::npos) << entry.path;
  }
}

TEST_F(SysfsTree, HoldsNothingOfPowerManagementAndCounting) {
  for (const std::string name : {"power", "queue", "statistics", "wakeup"}) {
    unit.sysfs.writeAttribute(device + "/" + name, "name", "x\n");
    EXPECT_FALSE(hasPath(device + "/" + name)) << name;
    EXPECT_FALSE(hasPath(device + "/" + name + "/name")) << name;
  }
}

TEST_F(SysfsTree, HoldsNoLinksToWhatItLeavesOut) {
  unit.sysfs.makeDirectory(device + "/wakeup/wakeup3");
  unit.sysfs.linkTo(device + "/wakeup/wakeup3", "/sys/class/wakeup/wakeup3");

  EXPECT_FALSE(hasPath("/sys/class/wakeup/wakeup3"));
}

TEST_F(SysfsTree, HoldsTheLinksOfEveryFolderOfLinks) {
  for (const std::string link : {"/sys/bus/scsi/devices/0:0:0:0", "/sys/class/usb/hiddev0",
                                 "/sys/dev/char/180:0", "/sys/dev/block/8:0"}) {
    unit.sysfs.linkTo(device, link);
    EXPECT_EQ(contentOf(link), fs::read_symlink(link)) << link;
  }
}

TEST_F(SysfsTree, HoldsLinksThatLeadNowhere) {
  unit.sysfs.makeLink(device + "/driver", "../../../../bus/usb/drivers/gone");

  EXPECT_EQ(contentOf(device + "/driver"), "../../../../bus/usb/drivers/gone");
}

TEST_F(SysfsTree, LeavesOutAnAttributeThatItsDriverHasNoAnswerFor) {
  // A file that can be opened, but not read at its beginning.
  const std::string speed = device + "/speed";
  ASSERT_EQ(::mount("/proc/self/mem", speed.c_str(), nullptr, MS_BIND, nullptr), 0);

  EXPECT_FALSE(hasPath(speed));
  EXPECT_TRUE(hasPath(device + "/subsystem"));
}

TEST(SysfsTreeOfAnotherUser, CannotBeRead) {
  support::inChild([] {
    sim::Unit unit;
    const std::string device = unit.sysfs.add(sim::UsbDevice{});
    fs::permissions(device + "/descriptors", fs::perms::none);
    support::dropPrivileges();

    EXPECT_EQ(errorThrownBy([&] { static_cast<void>(recorder::treeOf(device)); }),
              "reading " + device + "/descriptors: Permission denied");
  });
}

}  // namespace
