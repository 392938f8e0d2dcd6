#include <gtest/gtest.h>

#include "system/support/admission_check.h"

namespace {

using AdmissionOfIsochronousDevices = AdmissionCheck;

using sim::endpoint;

const Decision refusedForIsochronousEndpoints =
    refusedWith("Synthetic Device is not supported because it has isochronous endpoints\n");

sim::UsbDevice deviceWithEndpoint(std::uint8_t attributes) {
  return deviceWith(interfaceOf(sim::usb_class::vendor) + endpoint(attributes));
}

}  // namespace

TEST_F(AdmissionOfIsochronousDevices, AreRefusedWhenNothingIsConfigured) {
  startWithoutConfiguration();
  EXPECT_EQ(decide(isochronousDevice()), refusedForIsochronousEndpoints);
}

TEST_F(AdmissionOfIsochronousDevices, AreRefusedWhereNotEnabled) {
  startWith("isochronous_enabled = false\n");
  EXPECT_EQ(decide(isochronousDevice()), refusedForIsochronousEndpoints);
}

TEST_F(AdmissionOfIsochronousDevices, AreAdmittedWhereEnabled) {
  startWith("isochronous_enabled = true\n");
  EXPECT_EQ(decide(isochronousDevice()), admittedSilently);
}

TEST_F(AdmissionOfIsochronousDevices, AreRefusedSilentlyWithoutTheUserWarning) {
  startWith("isochronous_user_warning = false\n");
  EXPECT_EQ(decide(isochronousDevice()), refusedSilently);
}

TEST_F(AdmissionOfIsochronousDevices, AreRefusedWithALineWhenTheUserWarningIsSet) {
  startWith("isochronous_user_warning = true\n");
  EXPECT_EQ(decide(isochronousDevice()), refusedForIsochronousEndpoints);
}

TEST_F(AdmissionOfIsochronousDevices, AreAdmittedWhereEnabledWhateverTheUserWarningSays) {
  startWith("isochronous_enabled = true\nisochronous_user_warning = false\n");
  EXPECT_EQ(decide(isochronousDevice()), admittedSilently);
}

TEST_F(AdmissionOfIsochronousDevices, AreKnownByTheLowTwoBitsOfTheirAttributes) {
  startWith("");
  for (const unsigned attributes : {0x01U, 0x05U, 0x09U, 0x0dU, 0x11U, 0x21U, 0xfdU}) {
    sim::UsbDevice device = deviceWithEndpoint(static_cast<std::uint8_t>(attributes));
    device.name = "1-" + std::to_string(attributes + 1);
    EXPECT_EQ(decide(device), refusedForIsochronousEndpoints) << attributes;
  }
}

TEST_F(AdmissionOfIsochronousDevices, AreNotThoseOfOtherTransferTypes) {
  startWith("");
  for (const unsigned attributes : {0x00U, 0x02U, 0x03U, 0x04U, 0x06U, 0x0fU, 0x10U, 0xfeU}) {
    sim::UsbDevice device = deviceWithEndpoint(static_cast<std::uint8_t>(attributes));
    device.name = "1-" + std::to_string(attributes + 1);
    EXPECT_EQ(decide(device), admittedSilently) << attributes;
  }
}

TEST_F(AdmissionOfIsochronousDevices, AreFoundByAnyOfTheirEndpoints) {
  startWith("");
  EXPECT_EQ(
      decide(deviceWith(interfaceOf(sim::usb_class::vendor) + endpoint(sim::transfer_type::bulk) +
                        endpoint(sim::transfer_type::interrupt) + endpoint(sim::transfer_type::isochronous))),
      refusedForIsochronousEndpoints);
}

TEST_F(AdmissionOfIsochronousDevices, AreFoundInAnAlternateSetting) {
  startWith("");
  EXPECT_EQ(decide(deviceWith(interfaceOf(sim::usb_class::audio) +
                              sim::interface(sim::usb_class::audio, 2, 0, 0, 1) +
                              endpoint(sim::transfer_type::isochronous))),
            refusedForIsochronousEndpoints);
}

TEST_F(AdmissionOfIsochronousDevices, MayHaveEndpointDescriptorsOfNineBytes) {
  startWith("");
  EXPECT_EQ(decide(deviceWith(interfaceOf(sim::usb_class::audio) +
                              sim::bytes({9, 5, 0x81, 0x02, 0xc0, 0, 1, 0, 0}) +
                              sim::bytes({9, 5, 0x01, 0x0d, 0xc0, 0, 1, 0, 0}))),
            refusedForIsochronousEndpoints);
}

TEST_F(AdmissionOfIsochronousDevices, AnInterfaceIsNoEndpoint) {
  startWith("");
  // Its alternate setting stands where an endpoint's attributes do.
  EXPECT_EQ(decide(deviceWith(sim::interface(sim::usb_class::vendor, 0, 0, 0, 1))), admittedSilently);
}

TEST_F(AdmissionOfIsochronousDevices, AreLoggedAsSuch) {
  startWith("");
  EXPECT_EQ(debugLinesOf(isochronousDevice()),
            (std::vector<std::string>{
                "[rx_ctrl] add /devices/platform/usb-host.0/usb1/1-1",
                "[rx_ctrl] subsystem is 'usb'",
                "[rx_ctrl] Isochronous endpoint found - device not supported",
                "[rx_ctrl] this is an unsupported USB device",
            }));
}

TEST_F(AdmissionOfIsochronousDevices, AreLoggedAsSuchWithoutTheUserWarningToo) {
  startWith("isochronous_user_warning = false\n");
  EXPECT_EQ(debugLinesOf(isochronousDevice()),
            (std::vector<std::string>{
                "[rx_ctrl] add /devices/platform/usb-host.0/usb1/1-1",
                "[rx_ctrl] subsystem is 'usb'",
                "[rx_ctrl] Isochronous endpoint found - device not supported",
                "[rx_ctrl] this is an unsupported USB device",
            }));
}

TEST_F(AdmissionOfIsochronousDevices, DevicesWithoutIsochronousEndpointsAreLoggedAsSupported) {
  startWith("");
  EXPECT_EQ(debugLinesOf(mouse()),
            (std::vector<std::string>{
                "[rx_ctrl] add /devices/platform/usb-host.0/usb1/1-1",
                "[rx_ctrl] subsystem is 'usb'",
                "[rx_ctrl]   no iso endpoints found, this is supported.",
                "[rx_ctrl] this is a generic USB device",
                "[rx_ctrl] starting usb_rx_generic for /sys/devices/platform/usb-host.0/usb1/1-1",
            }));
}

TEST_F(AdmissionOfIsochronousDevices, EndpointsAreNotLookedAtWhereEnabled) {
  startWith("isochronous_enabled = true\n");
  EXPECT_EQ(debugLinesOf(isochronousDevice()),
            (std::vector<std::string>{
                "[rx_ctrl] add /devices/platform/usb-host.0/usb1/1-1",
                "[rx_ctrl] subsystem is 'usb'",
                "[rx_ctrl] this is a generic USB device",
                "[rx_ctrl] starting usb_rx_generic for /sys/devices/platform/usb-host.0/usb1/1-1",
            }));
}

TEST_F(AdmissionOfIsochronousDevices, DescriptorsAreNotEvenReadWhereEnabledAndNoOtherRuleIsOn) {
  startWith("isochronous_enabled = true\n");
  const std::string directory = unit.sysfs.add(mouse());
  unit.sysfs.removeAttribute(directory, "descriptors");
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(decision(), admittedSilently);
}

TEST_F(AdmissionOfIsochronousDevices, AreRefusedWithoutAnyLogLineWhenTheDaemonDoesNotDebug) {
  unit.startDaemon({"transmitter", "5000", "high"});
  unit.waitUntilServing();
  unit.plug(isochronousDevice());
  EXPECT_EQ(unit.display.waitForWrite(),
            "Synthetic Device is not supported because it has isochronous endpoints\n");
  unit.settle();
  EXPECT_EQ(unit.daemon().standardError(), "");
}
