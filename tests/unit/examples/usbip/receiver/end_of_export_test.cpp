#include "examples/usbip/receiver/end_of_export.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill is POSIX's
#include <sys/stat.h>
#include <unistd.h>

#include <future>
#include <string>
#include <vector>

#include "examples/usbip/exchange/log.h"
#include "examples/usbip/receiver/termination.h"
#include "sim/descriptor.h"
#include "unit/examples/usbip/receiver/far_side.h"
#include "unit/examples/usbip/receiver/library_calls.h"
#include "unit/examples/usbip/receiver/usbip_host.h"

namespace {

using usbip::EndOfExport;

class EndOfExportKernel : public testing::Test {
 protected:
  EndOfExportKernel() { exported.handOver(farSide.connection().socket()); }

  [[nodiscard]] EndOfExport wait() const { return waitForEnd(farSide.connection(), device, exported); }

  UsbipHost host;
  FarSide farSide;
  usbip::Log log{"usb_rx_usbip", usbip::LogDestination::standardError, false};
  usbip::UsbDevice device{host.device().directory()};
  usbip::ExportedDevice exported{device, log};
};

TEST_F(EndOfExportKernel, IsALostLinkWhereTheDeviceCouldBeExportedAgain) {
  host.device().write("usbip_status", "1\n");
  farSide.leave();
  EXPECT_EQ(wait(), EndOfExport::linkIsLost);
}

TEST_F(EndOfExportKernel, IsADeviceThatHasGone) {
  host.device().removeAll();
  farSide.leave();
  EXPECT_EQ(wait(), EndOfExport::deviceHasGone);
}

TEST_F(EndOfExportKernel, IsALostLinkWhereTheKernelSaysNothingElseInTwoSeconds) {
  farSide.leave();
  const auto start = usbip::Clock::now();
  EXPECT_EQ(wait(), EndOfExport::linkIsLost);
  EXPECT_GE(usbip::Clock::now() - start, std::chrono::seconds(2));
}

TEST_F(EndOfExportKernel, IsALostLinkWhereSomebodyElseHasTakenTheDevice) {
  host.giveTo("usb");
  farSide.leave();
  EXPECT_EQ(wait(), EndOfExport::linkIsLost);
}

// The kernel closes the connection of a device that is plugged out before it removes the directory.
TEST_F(EndOfExportKernel, IsADeviceThatGoesALittleAfterItsLink) {
  const std::string status = host.device().pathTo("usbip_status");
  host.device().remove("usbip_status");
  ASSERT_EQ(::mkfifo(status.c_str(), 0600), 0);
  farSide.leave();
  auto end = std::async(std::launch::async, [this] { return wait(); });
  {
    // Opened once it is read: the worker looks for the first time, and finds the device.
    const sim::Descriptor writer(::open(status.c_str(), O_WRONLY | O_CLOEXEC));
    host.device().removeAll();
    ASSERT_EQ(library::write.real(writer.get(), "2\n", 2), 2);
  }
  EXPECT_EQ(end.get(), EndOfExport::deviceHasGone);
}

TEST_F(EndOfExportKernel, IsNotAByteThatComes) {
  farSide.say(std::vector<std::uint8_t>(48));
  host.device().write("usbip_status", "1\n");
  auto end = std::async(std::launch::async, [this] { return wait(); });
  EXPECT_EQ(end.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
  EXPECT_EQ(farSide.unread(), 48U);
  farSide.leave();
  EXPECT_EQ(end.get(), EndOfExport::linkIsLost);
}

TEST_F(EndOfExportKernel, MayBeAskedFor) {
  auto end = std::async(std::launch::async, [this] { return wait(); });
  ::kill(::getpid(), SIGTERM);
  EXPECT_THROW(end.get(), usbip::EndRequested);
}

TEST_F(EndOfExportKernel, MayBeAskedForWhileTheKernelIsLookedAt) {
  farSide.leave();
  ::kill(::getpid(), SIGTERM);
  EXPECT_THROW(static_cast<void>(wait()), usbip::EndRequested);
}

}  // namespace
