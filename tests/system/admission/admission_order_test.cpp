#include <gtest/gtest.h>

#include "system/support/admission_check.h"

namespace {

using AdmissionOrder = AdmissionCheck;

constexpr const char* everyRule =
    "smartcard = true\nhid_only = true\nblock_mass_storage = true\nisochronous_enabled = false\n";

/** Breaks every rule at once. */
sim::UsbDevice unwantedDevice() {
  sim::UsbDevice device =
      deviceWith(interfaceOf(sim::usb_class::massStorage) + interfaceOf(sim::usb_class::smartCard) +
                 interfaceOf(sim::usb_class::vendor) + sim::endpoint(sim::transfer_type::isochronous));
  device.speed = "480";
  return device;
}

}  // namespace

TEST_F(AdmissionOrder, SmartCardsComeFirst) {
  startWith(everyRule, "full");
  EXPECT_EQ(decide(unwantedDevice()), refusedWith("Synthetic Devicelocal smartcard security\n"));
}

TEST_F(AdmissionOrder, HidOnlyComesSecond) {
  startWith("hid_only = true\nblock_mass_storage = true\n", "full");
  EXPECT_EQ(decide(unwantedDevice()),
            refusedWith("Synthetic Device is not supported because it has non-HID endpoints\n"));
}

TEST_F(AdmissionOrder, MassStorageComesThird) {
  startWith("block_mass_storage = true\n", "full");
  EXPECT_EQ(decide(unwantedDevice()),
            refusedWith("Synthetic Device configuration blocked due to mass storage capability\n"));
}

TEST_F(AdmissionOrder, IsochronousEndpointsComeFourth) {
  startWith("", "full");
  EXPECT_EQ(decide(unwantedDevice()),
            refusedWith("Synthetic Device is not supported because it has isochronous endpoints\n"));
}

TEST_F(AdmissionOrder, SpeedComesLast) {
  startWith("isochronous_enabled = true\n", "full");
  EXPECT_EQ(decide(unwantedDevice()),
            refusedWith("High speed Synthetic Device is not supported on a full speed only port\n"));
}

TEST_F(AdmissionOrder, SmartCardAndDiskInOneDeviceGetTheSmartCardLineOnly) {
  startWith("smartcard = true\nblock_mass_storage = true\n");
  EXPECT_EQ(decide(sim::DeviceRecording::load("made-card-disk")),
            refusedWith("Card And Disklocal smartcard security\n"));
}

TEST_F(AdmissionOrder, TheFirstRefusalEndsTheCheck) {
  startWith(everyRule, "full");
  EXPECT_EQ(debugLinesOf(unwantedDevice()), (std::vector<std::string>{
                                                "[rx_ctrl] add /devices/platform/usb-host.0/usb1/1-1",
                                                "[rx_ctrl] subsystem is 'usb'",
                                                "[rx_ctrl] this is an unsupported USB device",
                                            }));
}

TEST_F(AdmissionOrder, ARefusalByAClassRuleNeedsNoSpeed) {
  startWith("block_mass_storage = true\n", "full");
  const std::string directory = unit.sysfs.add(deviceOfClass(sim::usb_class::massStorage));
  unit.sysfs.removeAttribute(directory, "speed");
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(decision(),
            refusedWith("Synthetic Device configuration blocked due to mass storage capability\n"));
}
