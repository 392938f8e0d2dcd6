// A device of which only a few lines are known, as devices/README.md has them.

#include <algorithm>
#include <string>

#include "sim/files.h"
#include "support/readme_device.h"
#include "support/temporary_directory.h"
#include "system/support/hotplug.h"
#include "tools/recorder/recording_input.h"

namespace {

class WrittenDevice : public support::Hotplug {
 protected:
  std::string about = support::readmeDevice().about;
  std::string tree = support::readmeDevice().tree;

  [[nodiscard]] sim::DeviceRecording read() const {
    const support::TemporaryDirectory folder;
    sim::writeFile(folder / "scanner/about.txt", about);
    sim::writeFile(folder / "scanner/tree.txt", tree);
    return recorder::readRecording(folder / "scanner");
  }
};

TEST_F(WrittenDevice, IsFourLines) {
  EXPECT_EQ(std::count(about.begin(), about.end(), '\n'), 3);
  EXPECT_EQ(std::count(tree.begin(), tree.end(), '\n'), 1);
}

TEST_F(WrittenDevice, IsServedLikeADeviceOfWhichEverythingIsKnown) {
  start("all");
  const std::string directory = "/sys/devices/usb1/1-1";
  EXPECT_EQ(saidOfPlugging(read()), support::genericDevice(directory));
  EXPECT_EQ(unit.workers.waitForWorker().device(), directory);
}

TEST_F(WrittenDevice, IsFoundAtStart) {
  unit.sysfs.layOut(read());
  start("all");
  EXPECT_EQ(unit.workers.waitForWorker().device(), "/sys/devices/usb1/1-1");
}

TEST_F(WrittenDevice, IsRefusedByItsNameWhereADescriptorIsIsochronous) {
  about += "product: Scan o'matic\n";
  const std::size_t attributes = tree.find("07058102");
  ASSERT_NE(attributes, std::string::npos);
  tree.replace(attributes, 8, "07058101");
  start("all");
  unit.plug(read());
  EXPECT_EQ(unit.display.waitForWrite(), contract::display::isochronous("Scan o'matic") + "\n");
  EXPECT_TRUE(hasNoWorker());
}

}  // namespace
