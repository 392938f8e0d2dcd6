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

  [[nodiscard]] ExplainRun explainedFor(const std::string& linkSpeed,
                                        std::vector<std::string> arguments = {}) const {
    sim::writeFile(folder + "/about.txt", scanner.about);
    sim::writeFile(folder + "/tree.txt", scanner.tree);
    arguments.insert(arguments.end(), {"--speed=" + linkSpeed, folder});
    return runExplain(arguments);
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

TEST_F(DeviceSourceWritten, NeedsItsSpeedOnALinkOfFullSpeed) {
  for (const char* speed : {"", "speed: \n"}) {
    scanner.about = std::string("a scanner\ndevice directory: /sys/devices/usb1/1-1\n") + speed;
    EXPECT_EQ(explainedFor("full").end, sim::ProcessEnd::exited(2));
    EXPECT_NE(explainedFor("full").errors.find("usb_rx_explain: " + folder + ": about.txt has no speed\n"),
              std::string::npos);
    EXPECT_EQ(explainedFor("high").end, sim::ProcessEnd::exited(0));
  }
}

TEST_F(DeviceSourceWritten, DoesNotShowTheNodesOfAKeyboard) {
  scanner.tree =
      "b devices/usb1/1-1/descriptors 120100020000000827060100000001020001"
      "09022200010100a0320904000001030101000921110100012216000705810308000a\n";
  const ExplainRun run = explainedFor("high", {"--class=keyboard"});
  EXPECT_EQ(run.end, sim::ProcessEnd::exited(1)) << run;
  EXPECT_NE(run.output.find("left to its hiddev node, which this folder does not show"), std::string::npos)
      << run;
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
