#include <gtest/gtest.h>

#include "system/support/admission_check.h"
#include "system/support/control_messages.h"

namespace {

using AdmissionBySpeed = AdmissionCheck;

const Decision refusedForItsSpeed =
    refusedWith("High speed Synthetic Device is not supported on a full speed only port\n");

sim::UsbDevice deviceOfSpeed(const std::string& speed) {
  sim::UsbDevice device = deviceOfClass(sim::usb_class::vendor);
  device.speed = speed;
  return device;
}

/** A high-speed device with isochronous endpoints. */
sim::UsbDevice camera() {
  sim::UsbDevice device = isochronousDevice();
  device.speed = "480";
  return device;
}

}  // namespace

TEST_F(AdmissionBySpeed, AHighSpeedDeviceIsRefusedOnAFullSpeedLink) {
  startWithoutConfiguration("full");
  EXPECT_EQ(decide(highSpeedDevice()), refusedForItsSpeed);
}

TEST_F(AdmissionBySpeed, TheRefusalIsLoggedAfterTheVerdictOnEndpoints) {
  startWithoutConfiguration("full");
  EXPECT_EQ(debugLinesOf(highSpeedDevice()), (std::vector<std::string>{
                                                 "[rx_ctrl] add /devices/platform/usb-host.0/usb1/1-1",
                                                 "[rx_ctrl] subsystem is 'usb'",
                                                 "[rx_ctrl]   no iso endpoints found, this is supported.",
                                                 "[rx_ctrl] this is an unsupported USB device",
                                             }));
}

TEST_F(AdmissionBySpeed, ADeviceOfAnyOtherSpeedIsAdmittedOnAFullSpeedLink) {
  startWithoutConfiguration("full");
  int port = 0;
  for (const char* speed : {"1.5", "12", "5000", "10000", "48", "4800", "480.0", " 480", "480 ", ""}) {
    EXPECT_EQ(decide(named(deviceOfSpeed(speed), "1-" + std::to_string(++port), "Any")), admittedSilently)
        << '"' << speed << '"';
  }
}

TEST_F(AdmissionBySpeed, AHighSpeedDeviceIsAdmittedOnAHighSpeedLink) {
  startWithoutConfiguration("high");
  EXPECT_EQ(decide(highSpeedDevice()), admittedSilently);
}

TEST_F(AdmissionBySpeed, AnEmptyLinkSpeedRefusesNothing) {
  startWithoutConfiguration("");
  EXPECT_EQ(decide(highSpeedDevice()), admittedSilently);
}

TEST_F(AdmissionBySpeed, OnlyTheExactWordFullMakesALinkFullSpeed) {
  startWithoutConfiguration("Full");
  EXPECT_EQ(decide(named(highSpeedDevice(), "1-1", "First")), admittedSilently);
  const sim::LinkManager manager = deliver(unit, "transmitter 5000 fullspeed eth1");
  EXPECT_EQ(unit.display.waitForWrite(), "First attached\n");
  EXPECT_EQ(decide(named(highSpeedDevice(), "1-2", "Second")), (Decision{true, {"Second attached\n"}}));
}

TEST_F(AdmissionBySpeed, HoldsForTheSpeedOfTheLatestLinkParameters) {
  startWithoutConfiguration("high");
  const sim::LinkManager first = deliver(unit, "transmitter 5000 full eth1");
  EXPECT_EQ(decide(named(highSpeedDevice(), "1-1", "First")),
            refusedWith("High speed First is not supported on a full speed only port\n"));
  const sim::LinkManager second = deliver(unit, "transmitter 5000 high eth1");
  EXPECT_EQ(decide(named(highSpeedDevice(), "1-2", "Second")), (Decision{true, {"Second attached\n"}}));
}

TEST_F(AdmissionBySpeed, IsAskedOfDevicesWithEnabledIsochronousEndpointsToo) {
  startWith("isochronous_enabled = true\n", "full");
  EXPECT_EQ(decide(camera()), refusedForItsSpeed);
}

TEST_F(AdmissionBySpeed, IsNotAskedOfADeviceThatWasRefusedForItsEndpointsWithALine) {
  startWith("", "full");
  EXPECT_EQ(decide(camera()),
            refusedWith("Synthetic Device is not supported because it has isochronous endpoints\n"));
}

TEST_F(AdmissionBySpeed, GivesTheReasonForADeviceThatWasRefusedSilently) {
  startWith("isochronous_user_warning = false\n", "full");
  EXPECT_EQ(decide(camera()), refusedForItsSpeed);
}

TEST_F(AdmissionBySpeed, DoesNotAdmitWhatWasRefusedSilently) {
  startWith("isochronous_user_warning = false\n", "full");
  EXPECT_EQ(decide(isochronousDevice()), refusedSilently);
}

TEST_F(AdmissionBySpeed, DoesNotGiveAReasonForASilentRefusalOnAFasterLink) {
  startWith("isochronous_user_warning = false\n", "high");
  EXPECT_EQ(decide(camera()), refusedSilently);
}

TEST_F(AdmissionBySpeed, ConcernsAHighSpeedKeyboardThatIsTakenAsGeneric) {
  startWithoutConfiguration("full");
  EXPECT_EQ(decide(sim::DeviceRecording::load("kbd-hs")),
            refusedWith("High speed QEMU USB Keyboard is not supported on a full speed only port\n"));
}

TEST_F(AdmissionBySpeed, OfADeviceThatDoesNotTellItEndsTheEventOnAFullSpeedLink) {
  startWithoutConfiguration("full");
  const std::string directory = unit.sysfs.add(highSpeedDevice());
  unit.sysfs.removeAttribute(directory, "speed");
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(decision(), refusedSilently);
  EXPECT_TRUE(unit.daemon().hasLine("[rx_ctrl] Exception while processing uevent; ignored."));
}

TEST_F(AdmissionBySpeed, IsNotReadOnAFasterLink) {
  startWithoutConfiguration("high");
  const std::string directory = unit.sysfs.add(highSpeedDevice());
  unit.sysfs.removeAttribute(directory, "speed");
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(decision(), admittedSilently);
}
