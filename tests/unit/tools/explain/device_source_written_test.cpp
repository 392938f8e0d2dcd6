// A report from the field, written down in four lines as devices/README.md has them.

#include <gtest/gtest.h>

#include <string>

#include "sim/files.h"
#include "support/readme_device.h"
#include "support/temporary_directory.h"
#include "unit/tools/explain/explain_run.h"

namespace {

class DeviceSourceWritten : public testing::Test {
 protected:
  support::ReadmeDevice scanner = support::readmeDevice();
  support::TemporaryDirectory devices;
  std::string folder = devices / "scanner";

  [[nodiscard]] ExplainRun explainedFor(const std::string& linkSpeed) const {
    sim::writeFile(folder + "/about.txt", scanner.about);
    sim::writeFile(folder + "/tree.txt", scanner.tree);
    return runExplain({"--speed=" + linkSpeed, folder});
  }
};

TEST_F(DeviceSourceWritten, IsServedAsDescribed) {
  const ExplainRun run = explainedFor("high");
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(0)) << run;
  EXPECT_NE(run.output.find("usb_rx_generic eth1"), std::string::npos) << run;
  EXPECT_NE(run.output.find(" /sys/devices/usb1/1-1\n"), std::string::npos) << run;
}

TEST_F(DeviceSourceWritten, HasTheSpeedOfItsThirdLine) {
  const ExplainRun run = explainedFor("full");
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(1)) << run;
}

TEST_F(DeviceSourceWritten, LacksNoneOfItsLines) {
  const std::string tree = scanner.tree;
  scanner.tree.clear();
  EXPECT_EQ(explainedFor("high"), refusal("scanner: tree.txt has no descriptors of the device"));
  scanner.tree = tree;
  scanner.about = "a scanner\nspeed: 480\n";
  EXPECT_EQ(explainedFor("high").end, sim::ProcessEnd::exited(2));
}

}  // namespace
