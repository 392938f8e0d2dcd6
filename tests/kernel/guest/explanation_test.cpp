// What usb_rx_explain, as it is installed, says of a device that is plugged into this machine.

#include "kernel/guest/receiver_unit.h"
#include "sim/files.h"
#include "sim/process.h"

namespace guest {
namespace {

constexpr const char* program = "/usr/bin/usb_rx_explain";
constexpr int someDeviceIsRefused = 1;

using Explanation = ReceiverUnit;

TEST_F(Explanation, OfASpeakerNamesTheLineOnTheDisplay) {
  const PluggedDevice device = desk.plug(speaker(), fullSpeedSocket(1));
  const std::string output = "/sim/explanation";
  sim::writeFile(output, "");
  EXPECT_EQ(sim::runProcess({program, device.directory}, {}, output, output),
            sim::ProcessEnd::exited(someDeviceIsRefused));
  const std::string explanation = sim::readFile(output);
  EXPECT_NE(explanation.find(device.device.product), std::string::npos) << explanation;
  EXPECT_NE(explanation.find("usb:isochronous_enabled"), std::string::npos) << explanation;

  start();
  settle();
  const std::string shown = display.waitForWrite();
  EXPECT_NE(explanation.find(shown.substr(0, shown.find('\n'))), std::string::npos) << explanation;
}

}  // namespace
}  // namespace guest
