// The systemd service, as systemd itself reads it.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "sim/files.h"
#include "sim/unit.h"

namespace {

constexpr const char* analyze = "/usr/bin/systemd-analyze";
constexpr const char* service = EXAMPLES_FOLDER "/systemd/usb_rx_ctrl.service";

class SystemdService : public testing::Test {
 protected:
  void SetUp() override {
    if (::access(analyze, X_OK) != 0) {
      GTEST_SKIP() << "systemd is not there: " << analyze;
    }
  }
  sim::Unit unit;
};

TEST_F(SystemdService, IsVerifiedWithoutAMessage) {
  const std::string output = "/sim/verify";
  sim::writeFile(output, "");
  unit.installWorker("/usr/sbin/usb_rx_ctrl");  // it has to be there, no more
  const sim::ProcessEnd end = sim::runProcess({analyze, "verify", "--man=no", service}, {}, output, output);
  EXPECT_EQ(end, sim::ProcessEnd::exited(0));
  EXPECT_EQ(sim::readFile(output), "");
}

}  // namespace
