#include <gtest/gtest.h>

#include <filesystem>

#include "system/support/admission_check.h"

namespace {

using AdmissionConfiguration = AdmissionCheck;

const Decision blocked =
    refusedWith("Synthetic Device configuration blocked due to mass storage capability\n");

sim::UsbDevice plainDisk() {
  return deviceOfClass(sim::usb_class::massStorage);
}

}  // namespace

TEST_F(AdmissionConfiguration, WithoutAFileOnlyIsochronousDevicesAreRefused) {
  startWithoutConfiguration();
  EXPECT_EQ(decide(named(plainDisk(), "1-1", "Disk")), admittedSilently);
  EXPECT_EQ(decide(named(deviceOfClass(sim::usb_class::smartCard), "1-2", "Reader")), admittedSilently);
  EXPECT_EQ(decide(named(deviceOfClass(sim::usb_class::vendor), "1-3", "Scanner")), admittedSilently);
  EXPECT_EQ(decide(named(isochronousDevice(), "1-4", "Speaker")),
            refusedWith("Speaker is not supported because it has isochronous endpoints\n"));
}

TEST_F(AdmissionConfiguration, AFileThatCannotBeReadIsAsGoodAsNone) {
  std::filesystem::create_directory("/vel/quor.conf");
  startWithoutConfiguration();
  EXPECT_EQ(decide(named(plainDisk(), "1-1", "Disk")), admittedSilently);
  EXPECT_EQ(decide(named(isochronousDevice(), "1-2", "Speaker")),
            refusedWith("Speaker is not supported because it has isochronous endpoints\n"));
}

TEST_F(AdmissionConfiguration, KeysOfOtherSectionsDoNotCount) {
  sim::Unit::writeConfig(
      "block_mass_storage = true\n[other]\nblock_mass_storage = true\n[usb]\n[last]\nhid_only = true\n");
  startWithoutConfiguration();
  EXPECT_EQ(decide(plainDisk()), admittedSilently);
}

TEST_F(AdmissionConfiguration, AKeyMayBeSetToOne) {
  startWith("block_mass_storage = 1\n");
  EXPECT_EQ(decide(plainDisk()), blocked);
}

TEST_F(AdmissionConfiguration, AKeyMayBeSetToYes) {
  startWith("block_mass_storage = Yes\n");
  EXPECT_EQ(decide(plainDisk()), blocked);
}

TEST_F(AdmissionConfiguration, AKeyMayBeSetToNo) {
  startWith("isochronous_user_warning = no\n");
  EXPECT_EQ(decide(isochronousDevice()), refusedSilently);
}

TEST_F(AdmissionConfiguration, AKeyMayBeSetToZero) {
  startWith("isochronous_user_warning = 0\n");
  EXPECT_EQ(decide(isochronousDevice()), refusedSilently);
}

TEST_F(AdmissionConfiguration, AKeyThatIsNeitherTrueNorFalseHasItsDefault) {
  startWith("block_mass_storage = maybe\nisochronous_user_warning = maybe\n");
  EXPECT_EQ(decide(named(plainDisk(), "1-1", "Disk")), admittedSilently);
  EXPECT_EQ(decide(named(isochronousDevice(), "1-2", "Speaker")),
            refusedWith("Speaker is not supported because it has isochronous endpoints\n"));
}
