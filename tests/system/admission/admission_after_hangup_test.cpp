#include <gtest/gtest.h>

#include <csignal>

#include "system/support/admission_check.h"
#include "system/support/held_attribute.h"

namespace {

using AdmissionReload = AdmissionCheck;

sim::UsbDevice diskInPort(int port) {
  return named(deviceOfClass(sim::usb_class::massStorage), "1-" + std::to_string(port), "Disk");
}

sim::UsbDevice hub() {
  sim::UsbDevice device = named(mouse(), "1-100", "Hub");
  device.deviceClass = "09";
  return device;
}

const Decision blocked = refusedWith("Disk configuration blocked due to mass storage capability\n");

constexpr const char* blocking = "block_mass_storage = true\n";

}  // namespace

TEST_F(AdmissionReload, AChangedConfigurationHasNoEffectWithoutSighup) {
  startWith("");
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(1)), admittedSilently);
  EXPECT_EQ(decide(diskInPort(2)), admittedSilently);
}

TEST_F(AdmissionReload, AChangedConfigurationHoldsForTheFirstDeviceAfterSighup) {
  startWith("");
  configure(blocking);
  hangUp();
  EXPECT_EQ(decide(diskInPort(1)), blocked);
}

TEST_F(AdmissionReload, AndForThoseThatFollow) {
  startWith("");
  configure(blocking);
  hangUp();
  EXPECT_EQ(decide(diskInPort(1)), blocked);
  EXPECT_EQ(decide(diskInPort(2)), blocked);
}

TEST_F(AdmissionReload, HappensAtTheNextDeviceAndNotBefore) {
  startWith("");
  hangUp();
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(1)), blocked);
}

TEST_F(AdmissionReload, HappensOncePerSighup) {
  startWith("");
  hangUp();
  EXPECT_EQ(decide(diskInPort(1)), admittedSilently);
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(2)), admittedSilently);
}

TEST_F(AdmissionReload, HappensAgainAfterTheNextSighup) {
  startWith("");
  configure(blocking);
  hangUp();
  EXPECT_EQ(decide(diskInPort(1)), blocked);
  configure("");
  hangUp();
  EXPECT_EQ(decide(diskInPort(2)), admittedSilently);
}

TEST_F(AdmissionReload, SeveralSighupsAreOne) {
  startWith("");
  hangUp();
  hangUp();
  hangUp();
  EXPECT_EQ(decide(diskInPort(1)), admittedSilently);
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(2)), admittedSilently);
}

TEST_F(AdmissionReload, AHubDoesNotCauseIt) {
  startWith("");
  hangUp();
  EXPECT_EQ(decide(hub()), refusedSilently);
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(1)), blocked);
}

TEST_F(AdmissionReload, ADeviceThatIsRefusedCausesIt) {
  startWith("");
  hangUp();
  EXPECT_FALSE(decide(named(isochronousDevice(), "1-1", "Speaker")).admitted);
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(2)), admittedSilently);
}

TEST_F(AdmissionReload, ReadsAllFiveKeys) {
  startWith("");
  configure("isochronous_enabled = true\n");
  hangUp();
  EXPECT_EQ(decide(named(isochronousDevice(), "1-1", "Speaker")), admittedSilently);
  configure("isochronous_user_warning = false\n");
  hangUp();
  EXPECT_EQ(decide(named(isochronousDevice(), "1-2", "Speaker")), refusedSilently);
  configure("hid_only = true\n");
  hangUp();
  EXPECT_EQ(decide(named(isochronousDevice(), "1-3", "Speaker")),
            refusedWith("Speaker is not supported because it has non-HID endpoints\n"));
  configure("smartcard = true\n");
  hangUp();
  EXPECT_EQ(decide(named(deviceOfClass(sim::usb_class::smartCard), "1-4", "Reader")),
            refusedWith("Readerlocal smartcard security\n"));
  configure(blocking);
  hangUp();
  EXPECT_EQ(decide(diskInPort(5)), blocked);
}

TEST_F(AdmissionReload, GivesKeysThatAreGoneTheirDefaults) {
  startWith("block_mass_storage = true\nisochronous_enabled = true\n");
  configure("");
  hangUp();
  EXPECT_EQ(decide(diskInPort(1)), admittedSilently);
  EXPECT_EQ(decide(named(isochronousDevice(), "1-2", "Speaker")),
            refusedWith("Speaker is not supported because it has isochronous endpoints\n"));
}

TEST_F(AdmissionReload, GivesEveryKeyItsDefaultWhenTheFileIsGone) {
  startWith("block_mass_storage = true\nisochronous_enabled = true\n");
  sim::Unit::removeConfig();
  hangUp();
  EXPECT_EQ(decide(diskInPort(1)), admittedSilently);
  EXPECT_EQ(decide(named(isochronousDevice(), "1-2", "Speaker")),
            refusedWith("Speaker is not supported because it has isochronous endpoints\n"));
}

TEST_F(AdmissionReload, FindsAFileThatWasNotThereAtTheStart) {
  startWithoutConfiguration();
  configure(blocking);
  hangUp();
  EXPECT_EQ(decide(diskInPort(1)), blocked);
}

TEST_F(AdmissionReload, ASighupDuringACheckIsForTheNextOne) {
  startWith("");
  const std::string directory = unit.sysfs.add(diskInPort(1));
  HeldAttribute descriptors(directory + "/descriptors");
  unit.uevents.add(directory.substr(4));
  descriptors.waitForReader();
  configure(blocking);
  unit.daemon().signal(SIGHUP);
  descriptors.release(sim::diskDescriptors());
  EXPECT_EQ(decision(), admittedSilently);
  EXPECT_EQ(decide(diskInPort(2)), blocked);
}

TEST_F(AdmissionReload, SaysNothingByItself) {
  startWith("");
  hangUp();
  const std::vector<std::string> messages = unit.daemon().messages();
  EXPECT_EQ(messages.at(messages.size() - 2), "[rx_ctrl] hotplugging new devices");
  EXPECT_EQ(unit.display.takeWrites(), std::vector<std::string>());
}

TEST_F(AdmissionReload, AlsoBringsANewWorkerProgramForTheSameDevice) {
  unit.installWorker("/opt/other/worker");
  startWith("");
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /opt/other/worker\n");
  hangUp();
  EXPECT_EQ(decide(mouse()), admittedSilently);
  EXPECT_EQ(unit.workers.waitForWorker().program(), "/opt/other/worker");
}
