#include "examples/usbip/receiver/exported_device.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "examples/usbip/exchange/log.h"
#include "examples/usbip/receiver/usb_device.h"
#include "support/named_case.h"
#include "support/output.h"
#include "support/thrown.h"
#include "ulx/exceptions.h"
#include "unit/examples/usbip/receiver/usbip_host.h"

namespace {

using usbip::ExportedDevice;
using usbip::ExportStatus;
using usbip::UsbDevice;
using Writes = std::vector<std::string>;

class ExportedDeviceKernel : public testing::Test {
 protected:
  // Takes the device, and gives it back at the end of the scope.
  [[nodiscard]] ExportedDevice taken() const { return {device, log}; }

  UsbipHost host;
  UsbDevice device{host.device().directory()};
  usbip::Log log{"usb_rx_usbip", usbip::LogDestination::standardError, false};
};

TEST_F(ExportedDeviceKernel, GivesItToUsbipHostInThisOrder) {
  const ExportedDevice exported = taken();
  EXPECT_EQ(host.writes(), (Writes{"drivers/usbip-host/match_busid: add 1-2", "drivers/usb/unbind: 1-2",
                                   "drivers/usbip-host/bind: 1-2"}));
  EXPECT_EQ(host.driver(), "usbip-host");
}

TEST_F(ExportedDeviceKernel, GetsItBackForItsOwnDriver) {
  { const ExportedDevice exported = taken(); }
  EXPECT_EQ(host.driver(), "usb");
}

TEST_F(ExportedDeviceKernel, GivesItAgainAtTheSamePort) {
  { const ExportedDevice exported = taken(); }
  {
    const ExportedDevice exported = taken();
    EXPECT_EQ(host.driver(), "usbip-host");
  }
  EXPECT_EQ(host.driver(), "usb");
}

TEST_F(ExportedDeviceKernel, SaysWhyItIsTheLastPort) {
  host.fail("drivers/usbip-host/match_busid", ENOMEM);
  EXPECT_EQ(
      support::caught<ulx::StrException>([this] { static_cast<void>(taken()); }).message,
      "usbip-host has had devices at 16 ports, and takes none at a further one until it is loaded anew");
  EXPECT_EQ(host.driver(), "usb");
}

TEST_F(ExportedDeviceKernel, GivesADeviceThatNoDriverHas) {
  host.giveTo("");
  {
    const ExportedDevice exported = taken();
    EXPECT_EQ(host.driver(), "usbip-host");
  }
  EXPECT_EQ(host.driver(), "usb");
}

TEST_F(ExportedDeviceKernel, GivesADeviceThatAKilledWorkerHasLeft) {
  host.leaveExported();
  const ExportedDevice exported = taken();
  EXPECT_EQ(host.driver(), "usbip-host");
  EXPECT_EQ(exported.status(), ExportStatus::available);
}

TEST_F(ExportedDeviceKernel, GivesADeviceThatAKilledWorkerHadHardlyTaken) {
  host.leaveAdded();
  { const ExportedDevice exported = taken(); }
  EXPECT_EQ(host.driver(), "usb");
}

struct Refused : support::NamedCase {
  std::string attribute;
  int error;
};

class ExportedDeviceFailure : public ExportedDeviceKernel, public testing::WithParamInterface<Refused> {};

TEST_P(ExportedDeviceFailure, LeavesTheDeviceWithItsOwnDriver) {
  host.fail(GetParam().attribute, GetParam().error);
  const auto failure = support::contextThrownBy([this] { static_cast<void>(taken()); });
  EXPECT_EQ(failure, "write(\"/sys/bus/usb/" + GetParam().attribute + "\")");
  EXPECT_EQ(host.driver(), "usb");
}

INSTANTIATE_TEST_SUITE_P(OfAWrite, ExportedDeviceFailure,
                         testing::Values(Refused{{"ToTheTable"}, "drivers/usbip-host/match_busid", EIO},
                                         Refused{{"ToBind"}, "drivers/usbip-host/bind", ENODEV}),
                         testing::PrintToStringParamName());

TEST_F(ExportedDeviceKernel, KeepsADeviceThatItsDriverDoesNotGive) {
  host.fail("drivers/usb/unbind", EBUSY);
  EXPECT_THROW(static_cast<void>(taken()), ulx::DeviceOrResourceBusy);
  EXPECT_EQ(host.driver(), "usb");
}

TEST_F(ExportedDeviceKernel, GetsTheSocket) {
  const ExportedDevice exported = taken();
  exported.handOver(17);
  EXPECT_EQ(host.writes().back(), "usbip_sockfd: 17");
  EXPECT_EQ(exported.status(), ExportStatus::used);
}

TEST_F(ExportedDeviceKernel, MayRefuseTheSocket) {
  const ExportedDevice exported = taken();
  host.fail("usbip_sockfd", EINVAL);
  EXPECT_THROW(exported.handOver(17), ulx::InvalidArgument);
}

TEST_F(ExportedDeviceKernel, SaysHowTheExportIs) {
  const ExportedDevice exported = taken();
  EXPECT_EQ(exported.status(), ExportStatus::available);
  host.device().write("usbip_status", "2\n");
  EXPECT_EQ(exported.status(), ExportStatus::used);
  host.device().write("usbip_status", "3\n");
  EXPECT_EQ(exported.status(), ExportStatus::failed);
}

TEST_F(ExportedDeviceKernel, SaysNothingOfADeviceThatItGaveAway) {
  const ExportedDevice exported = taken();
  host.giveTo("usb");
  EXPECT_FALSE(exported.status());
}

// A device that goes away while the worker has it; the log of what the worker does then.
class ExportedDeviceGone : public ExportedDeviceKernel {
 protected:
  support::Lines logOfLosing(const std::function<void()>& howItGoes) {
    const support::CapturedStandardError captured;
    {
      const ExportedDevice exported = taken();
      howItGoes();
      writesBefore = host.writes();
    }
    return captured.writes();
  }

  Writes writesBefore;
};

TEST_F(ExportedDeviceGone, NeedsNothingMore) {
  EXPECT_EQ(logOfLosing([this] { host.device().removeAll(); }), support::Lines{});
  EXPECT_EQ(host.writes(), writesBefore);
}

TEST_F(ExportedDeviceGone, MayGoAmidItsReturn) {
  EXPECT_EQ(logOfLosing(
                [this] { host.before("drivers/usbip-host/unbind", [this] { host.device().removeAll(); }); }),
            support::Lines{});
}

TEST_F(ExportedDeviceGone, LeavesItsSuccessorAlone) {
  EXPECT_EQ(logOfLosing([this] { host.replaceDevice(); }), support::Lines{});
  EXPECT_EQ(host.writes(), writesBefore);
}

TEST_F(ExportedDeviceGone, IsNotMistakenForAReturnThatFails) {
  EXPECT_EQ(logOfLosing([this] { host.fail("drivers/usbip-host/unbind", EIO); }),
            support::Lines{"usb_rx_usbip: 1-2 is not given back: Input/output error while "
                           "write(\"/sys/bus/usb/drivers/usbip-host/unbind\")\n"});
}

TEST_F(ExportedDeviceGone, IsNotTakenFurther) {
  host.before("drivers/usbip-host/bind", [this] { host.device().removeAll(); });
  EXPECT_THROW(static_cast<void>(taken()), ulx::NoSuchDevice);
  EXPECT_EQ(host.writes().back(), "drivers/usbip-host/bind: 1-2");
}

TEST_F(ExportedDeviceKernel, IsSaidToLackItsDriver) {
  usbip::requireUsbipHost();
  std::filesystem::remove_all("/sys/bus/usb/drivers/usbip-host");
  EXPECT_EQ(support::caught<ulx::StrException>(usbip::requireUsbipHost).message,
            "the kernel's driver usbip-host is not loaded: modprobe usbip-host");
}

}  // namespace
