#include <gtest/gtest.h>

#include <filesystem>

#include "system/support/admission_check.h"
#include "system/support/held_attribute.h"

namespace {

using AdmissionOfChangingDevices = AdmissionCheck;

constexpr const char* ignoredEvent = "[rx_ctrl] Exception while processing uevent; ignored.";

const std::string harmlessDescriptors = sim::mouseDescriptors();

/** Whoever has the file open keeps the old one. */
void replaceAttribute(sim::Unit& unit, const std::string& directory, const std::string& name,
                      const std::string& content) {
  unit.sysfs.writeAttribute(directory, name + ".new", content);
  std::filesystem::rename(directory + "/" + name + ".new", directory + "/" + name);
}

}  // namespace

TEST_F(AdmissionOfChangingDevices, EachRuleReadsTheDescriptorsAfresh) {
  startWith("smartcard = true\nhid_only = true\n");
  const std::string directory = unit.sysfs.add(mouse());
  HeldAttribute descriptors(directory + "/descriptors");
  unit.uevents.add(directory.substr(4));
  descriptors.waitForReader();
  replaceAttribute(unit, directory, "descriptors", sim::vendorDeviceDescriptors());
  descriptors.release(harmlessDescriptors);
  EXPECT_EQ(decision(), refusedWith("Synthetic Device is not supported because it has non-HID endpoints\n"));
}

TEST_F(AdmissionOfChangingDevices, TheNameIsReadWhenTheUserIsTold) {
  startWith("block_mass_storage = true\n");
  const std::string directory = unit.sysfs.add(deviceOfClass(sim::usb_class::massStorage));
  HeldAttribute descriptors(directory + "/descriptors");
  unit.uevents.add(directory.substr(4));
  descriptors.waitForReader();
  unit.sysfs.writeAttribute(directory, "product", "Renamed\n");
  descriptors.release(sim::diskDescriptors());
  EXPECT_EQ(decision(), refusedWith("Renamed configuration blocked due to mass storage capability\n"));
}

TEST_F(AdmissionOfChangingDevices, DescriptorsThatVanishBetweenTwoRulesEndTheEvent) {
  startWith("smartcard = true\n");
  const std::string directory = unit.sysfs.add(mouse());
  HeldAttribute descriptors(directory + "/descriptors");
  unit.uevents.add(directory.substr(4));
  descriptors.waitForReader();
  unit.sysfs.removeAttribute(directory, "descriptors");
  descriptors.release(harmlessDescriptors);
  EXPECT_EQ(decision(), refusedSilently);
  EXPECT_TRUE(unit.daemon().hasLine(ignoredEvent));
}

TEST_F(AdmissionOfChangingDevices, ADeviceThatVanishesBetweenTwoRulesEndsTheEvent) {
  startWith("smartcard = true\n");
  const std::string directory = unit.sysfs.add(mouse());
  HeldAttribute descriptors(directory + "/descriptors");
  unit.uevents.add(directory.substr(4));
  descriptors.waitForReader();
  unit.sysfs.removeDevice(directory);
  descriptors.release(harmlessDescriptors);
  EXPECT_EQ(decision(), refusedSilently);
  EXPECT_TRUE(unit.daemon().hasLine(ignoredEvent));
}

TEST_F(AdmissionOfChangingDevices, ARefusedDeviceThatVanishesBeforeItsNameIsReadIsUnnamed) {
  startWith("block_mass_storage = true\n");
  const std::string directory = unit.sysfs.add(deviceOfClass(sim::usb_class::massStorage));
  HeldAttribute descriptors(directory + "/descriptors");
  unit.uevents.add(directory.substr(4));
  descriptors.waitForReader();
  unit.sysfs.removeDevice(directory);
  descriptors.release(sim::diskDescriptors());
  EXPECT_EQ(decision(),
            refusedWith("un-named device configuration blocked due to mass storage capability\n"));
}

TEST_F(AdmissionOfChangingDevices, SpeedIsReadAfterTheDescriptors) {
  startWith("", "full");
  const std::string directory = unit.sysfs.add(mouse());
  HeldAttribute descriptors(directory + "/descriptors");
  unit.uevents.add(directory.substr(4));
  descriptors.waitForReader();
  unit.sysfs.writeAttribute(directory, "speed", "480\n");
  descriptors.release(harmlessDescriptors);
  EXPECT_EQ(decision(),
            refusedWith("High speed Synthetic Device is not supported on a full speed only port\n"));
}

TEST_F(AdmissionOfChangingDevices, TheNextDeviceIsCheckedAfterOneThatFailed) {
  startWith("");
  const std::string directory = unit.sysfs.add(mouse());
  unit.sysfs.removeAttribute(directory, "descriptors");
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(decision(), refusedSilently);
  EXPECT_EQ(decide(named(isochronousDevice(), "1-2", "Speaker")),
            refusedWith("Speaker is not supported because it has isochronous endpoints\n"));
  EXPECT_EQ(decide(named(mouse(), "1-3", "Mouse")), admittedSilently);
}

TEST_F(AdmissionOfChangingDevices, AFailedDeviceIsOfferedAgainByItsNextEvent) {
  startWith("");
  const std::string directory = unit.sysfs.add(mouse());
  unit.sysfs.removeAttribute(directory, "descriptors");
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(decision(), refusedSilently);
  unit.sysfs.writeAttribute(directory, "descriptors", harmlessDescriptors);
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(decision(), admittedSilently);
}
