#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ctrl/settings.h"
#include "sim/files.h"
#include "sim/usb_descriptors.h"
#include "support/child.h"
#include "support/device_directory.h"
#include "support/test_ctrl.h"
#include "workers/admission.h"

namespace {

using Lines = std::vector<std::string>;

// In a private world with this configuration.
void configure(const std::string& usb) {
  sim::writeFile("/vel/quor.conf", "[usb]\n" + usb);
}

TEST(AdmissionReload, TakesUpTheChangedConfigurationOnceItIsRequested) {
  support::inPrivateWorld([] {
    configure("");
    support::TestCtrl ctrl;
    const support::DeviceDirectory device;
    device.write("descriptors", sim::vendorDeviceDescriptors());
    configure("hid_only = 1\nisochronous_user_warning = 0\n");
    EXPECT_TRUE(checkAdmission(*ctrl, device.path()));
    policyReloadRequested = 1;
    EXPECT_FALSE(checkAdmission(*ctrl, device.path()));
    EXPECT_EQ(ctrl.shown(), Lines{"un-named device is not supported because it has non-HID endpoints\n"});
    EXPECT_TRUE(ctrl->policy.hidOnly);
    EXPECT_FALSE(ctrl->policy.isochronousUserWarning);
    EXPECT_EQ(policyReloadRequested, 0);
  });
}

TEST(AdmissionReload, HappensOnceForEachRequest) {
  support::inPrivateWorld([] {
    configure("hid_only = 1\n");
    support::TestCtrl ctrl;
    const support::DeviceDirectory device;
    device.write("descriptors", sim::vendorDeviceDescriptors());
    policyReloadRequested = 1;
    EXPECT_FALSE(checkAdmission(*ctrl, device.path()));
    configure("");
    EXPECT_FALSE(checkAdmission(*ctrl, device.path()));
  });
}

TEST(AdmissionReload, TakesTheDefaultsWhereTheConfigurationHasGone) {
  support::inPrivateWorld([] {
    configure("hid_only = 1\nisochronous_enabled = 1\n");
    support::TestCtrl ctrl;
    ctrl->policy.hidOnly = true;
    ctrl->policy.isochronousEnabled = true;
    std::filesystem::remove("/vel/quor.conf");
    const support::DeviceDirectory device;
    device.write("descriptors", sim::vendorDeviceDescriptors());
    policyReloadRequested = 1;
    EXPECT_TRUE(checkAdmission(*ctrl, device.path()));
    EXPECT_FALSE(ctrl->policy.hidOnly);
    EXPECT_FALSE(ctrl->policy.isochronousEnabled);
  });
}

TEST(AdmissionReload, HappensAlsoWhereTheCheckThenFails) {
  support::inPrivateWorld([] {
    configure("");
    support::TestCtrl ctrl;
    configure("hid_only = 1\n");
    policyReloadRequested = 1;
    EXPECT_THROW((void)checkAdmission(*ctrl, "/sys/devices/gone"), ulx::NoSuchFileOrDirectory);
    EXPECT_TRUE(ctrl->policy.hidOnly);
    EXPECT_EQ(policyReloadRequested, 0);
  });
}

}  // namespace
