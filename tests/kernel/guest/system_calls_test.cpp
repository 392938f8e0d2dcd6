// usb_rx_old_kernel is in force for the daemon, as init.cpp has it.

#include "kernel/guest/receiver_unit.h"
#include "sim/files.h"

namespace guest {
namespace {

class SystemCalls : public ReceiverUnit {};

TEST_F(SystemCalls, OfTheDaemonAreThoseOfTheUnitsKernel) {
  start();
  const std::string status = sim::readFile("/proc/" + std::to_string(daemon->pid()) + "/status");
  EXPECT_NE(status.find("\nSeccomp:\t2\n"), std::string::npos) << status;
}

}  // namespace
}  // namespace guest
