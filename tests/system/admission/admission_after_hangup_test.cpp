// SIGHUP makes the daemon read its configuration anew, at the next device that the rules are asked of.

#include <csignal>
#include <filesystem>
#include <string>

#include "support/held_attribute.h"
#include "system/support/admission_check.h"

namespace {

using support::admittedSilently;
using support::named;
using support::refusedWith;

namespace display = contract::display;

constexpr const char* blocking = "block_mass_storage = true\n";

const support::Decision blocked = refusedWith(display::massStorage("Disk"));

sim::UsbDevice diskInPort(int port) {
  return named(support::disk(), "1-" + std::to_string(port), "Disk");
}

sim::UsbDevice speakerInPort(int port) {
  return named(support::isochronousDevice(), "1-" + std::to_string(port), "Speaker");
}

class AdmissionAfterHangup : public support::AdmissionCheck {
 protected:
  void hangUp() {
    unit.daemon().signal(SIGHUP);
    unit.settle();
  }
  void hangUpWith(const std::string& usbSettings) {
    configure(usbSettings);
    hangUp();
  }
};

TEST_F(AdmissionAfterHangup, AChangedConfigurationHasAnEffectAndNotBefore) {
  startWith("");
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(1)), admittedSilently);
  hangUp();
  EXPECT_EQ(decide(diskInPort(2)), blocked);
  EXPECT_EQ(decide(diskInPort(3)), blocked);
  hangUpWith("");
  EXPECT_EQ(decide(diskInPort(4)), admittedSilently);
}

TEST_F(AdmissionAfterHangup, TheConfigurationIsReadAtTheNextDeviceOnce) {
  startWith("");
  hangUp();
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(1)), blocked);
  configure("");
  EXPECT_EQ(decide(diskInPort(2)), blocked);
}

TEST_F(AdmissionAfterHangup, SeveralHangupsAreOne) {
  startWith("");
  hangUp();
  hangUp();
  hangUp();
  EXPECT_EQ(decide(diskInPort(1)), admittedSilently);
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(2)), admittedSilently);
}

TEST_F(AdmissionAfterHangup, AHubDoesNotHaveTheConfigurationRead) {
  startWith("");
  hangUp();
  EXPECT_EQ(decide(support::hub("1-100")), support::refusedSilently);
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(1)), blocked);
}

TEST_F(AdmissionAfterHangup, ARefusedDeviceHasTheConfigurationRead) {
  startWith("");
  hangUp();
  EXPECT_EQ(decide(speakerInPort(1)), refusedWith(display::isochronous("Speaker")));
  configure(blocking);
  EXPECT_EQ(decide(diskInPort(2)), admittedSilently);
}

TEST_F(AdmissionAfterHangup, EachKeyIsReadAnew) {
  startWith("");
  hangUpWith("isochronous_enabled = true\n");
  EXPECT_EQ(decide(speakerInPort(1)), admittedSilently);
  hangUpWith("isochronous_user_warning = false\n");
  EXPECT_EQ(decide(speakerInPort(2)), support::refusedSilently);
  hangUpWith("hid_only = true\n");
  EXPECT_EQ(decide(speakerInPort(3)), refusedWith(display::nonHid("Speaker")));
  hangUpWith("smartcard = true\n");
  EXPECT_EQ(decide(named(support::deviceOfClass(sim::usb_class::smartCard), "1-4", "Reader")),
            refusedWith(display::smartcard("Reader")));
  hangUpWith(blocking);
  EXPECT_EQ(decide(diskInPort(5)), blocked);
}

TEST_F(AdmissionAfterHangup, KeysThatAreGoneHaveTheirDefaults) {
  startWith("block_mass_storage = true\nisochronous_enabled = true\n");
  hangUpWith("");
  EXPECT_EQ(decide(diskInPort(1)), admittedSilently);
  EXPECT_EQ(decide(speakerInPort(2)), refusedWith(display::isochronous("Speaker")));
}

TEST_F(AdmissionAfterHangup, EveryKeyHasItsDefaultWithoutAFile) {
  startWith("block_mass_storage = true\nisochronous_enabled = true\n");
  sim::Unit::removeConfig();
  hangUp();
  EXPECT_EQ(decide(diskInPort(1)), admittedSilently);
  EXPECT_EQ(decide(speakerInPort(2)), refusedWith(display::isochronous("Speaker")));
}

TEST_F(AdmissionAfterHangup, AFileThatCouldNotBeReadAtTheStartIsFound) {
  std::filesystem::create_directory("/vel/quor.conf");
  startWithoutConfiguration();
  EXPECT_EQ(decide(diskInPort(1)), admittedSilently);
  EXPECT_EQ(decide(speakerInPort(2)), refusedWith(display::isochronous("Speaker")));
  std::filesystem::remove("/vel/quor.conf");
  hangUpWith(blocking);
  EXPECT_EQ(decide(diskInPort(3)), blocked);
}

TEST_F(AdmissionAfterHangup, ACheckUnderWayIsNotChanged) {
  startWith("");
  const std::string directory = unit.sysfs.add(diskInPort(1));
  support::HeldAttribute descriptors(directory + "/descriptors");
  EXPECT_EQ(decisionAfter([&] {
              unit.uevents.add(support::devpathOf(directory));
              descriptors.waitForReader();
              configure(blocking);
              unit.daemon().signal(SIGHUP);
              descriptors.release(sim::diskDescriptors());
            }),
            admittedSilently);
  EXPECT_EQ(decide(diskInPort(2)), blocked);
}

TEST_F(AdmissionAfterHangup, NothingIsSaid) {
  startWith("");
  EXPECT_EQ(during([this] { hangUp(); }).size(), 1U);  // the settling event's
  EXPECT_EQ(unit.display.takeWrites(), support::Lines());
}

TEST_F(AdmissionAfterHangup, ANewWorkerProgramIsStartedForTheSameDevice) {
  unit.installWorker("/opt/other/worker");
  startWith("");
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /opt/other/worker\n");
  hangUp();
  EXPECT_EQ(decide(support::mouse()), admittedSilently);
  EXPECT_EQ(unit.workers.waitForWorker().program(), "/opt/other/worker");
}

}  // namespace
