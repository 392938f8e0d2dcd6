#include <gtest/gtest.h>

#include "system/support/admission_check.h"

namespace {

using AdmissionByDescriptors = AdmissionCheck;

using sim::bytes;
namespace usb_class = sim::usb_class;

const Decision refusedAsSmartCard = refusedWith("Synthetic Devicelocal smartcard security\n");
const Decision refusedAsNotHid =
    refusedWith("Synthetic Device is not supported because it has non-HID endpoints\n");
const Decision refusedAsDisk =
    refusedWith("Synthetic Device configuration blocked due to mass storage capability\n");
const Decision refusedAsIsochronous =
    refusedWith("Synthetic Device is not supported because it has isochronous endpoints\n");

const std::string smartCardInterface = interfaceOf(usb_class::smartCard);
const std::string isochronousEndpoint = sim::endpoint(sim::transfer_type::isochronous);
const std::string endpointAttributesOnly = isochronousEndpoint.substr(0, 4);

/** What is read of an interface descriptor that is cut right behind its class. */
std::string cutBehindClass(std::uint8_t interfaceClass) {
  return interfaceOf(interfaceClass).substr(0, 6);
}

std::string cutBeforeClass(std::uint8_t interfaceClass) {
  return interfaceOf(interfaceClass).substr(0, 5);
}

}  // namespace

TEST_F(AdmissionByDescriptors, AnEmptyFileBreaksNoRule) {
  startWith("smartcard = true\nhid_only = true\nblock_mass_storage = true\n");
  EXPECT_EQ(decide(deviceWithRaw("")), admittedSilently);
}

TEST_F(AdmissionByDescriptors, OneByteBreaksNoRule) {
  startWith("smartcard = true\nhid_only = true\nblock_mass_storage = true\n");
  EXPECT_EQ(decide(deviceWithRaw(bytes({9}))), admittedSilently);
}

TEST_F(AdmissionByDescriptors, AreScannedFromTheFirstByte) {
  startWith("smartcard = true\n");
  EXPECT_EQ(decide(deviceWithRaw(smartCardInterface)), refusedAsSmartCard);
}

TEST_F(AdmissionByDescriptors, AreScannedByTheLengthOfEach) {
  startWith("smartcard = true\n");
  const std::string longerDeviceDescriptor = bytes({20}) + sim::deviceDescriptor().substr(1) + bytes({9, 4});
  EXPECT_EQ(decide(deviceWithRaw(longerDeviceDescriptor + bytes({2, 0x30}) + smartCardInterface)),
            refusedAsSmartCard);
}

TEST_F(AdmissionByDescriptors, AreNotFoundInsideOfOthers) {
  startWith("smartcard = true\n");
  EXPECT_EQ(
      decide(deviceWith(bytes({11, 0x24}) + smartCardInterface + bytes({9, 0x24}) + isochronousEndpoint)),
      admittedSilently);
}

TEST_F(AdmissionByDescriptors, ADescriptorOfLengthZeroEndsTheScan) {
  startWith("smartcard = true\nblock_mass_storage = true\n");
  EXPECT_EQ(decide(deviceWith(bytes({0, 4, 0, 0, 0, usb_class::smartCard, 0, 0, 0}) + smartCardInterface +
                              interfaceOf(usb_class::massStorage) + isochronousEndpoint)),
            admittedSilently);
}

TEST_F(AdmissionByDescriptors, WhatStandsBeforeADescriptorOfLengthZeroCounts) {
  startWith("smartcard = true\n");
  EXPECT_EQ(decide(deviceWith(smartCardInterface + bytes({0, 0}))), refusedAsSmartCard);
}

TEST_F(AdmissionByDescriptors, AFileOfZerosIsAdmitted) {
  startWith("hid_only = true\n");
  EXPECT_EQ(decide(deviceWithRaw(std::string(4096, '\0'))), admittedSilently);
}

TEST_F(AdmissionByDescriptors, ADescriptorOfLengthOneIsSteppedOver) {
  startWith("smartcard = true\n");
  EXPECT_EQ(decide(deviceWith(bytes({1}) + smartCardInterface)), refusedAsSmartCard);
}

TEST_F(AdmissionByDescriptors, ALastDescriptorThatClaimsMoreThanThereIsEndsTheScan) {
  startWith("smartcard = true\nhid_only = true\n");
  EXPECT_EQ(decide(deviceWith(bytes({255, 0x24}) + smartCardInterface)), admittedSilently);
}

TEST_F(AdmissionByDescriptors, AnInterfaceCutBehindItsClassCountsForEachRule) {
  startWith("smartcard = true\nblock_mass_storage = true\n");
  EXPECT_EQ(decide(named(deviceWith(cutBehindClass(usb_class::smartCard)), "1-1", "Synthetic Device")),
            refusedAsSmartCard);
  EXPECT_EQ(decide(named(deviceWith(cutBehindClass(usb_class::massStorage)), "1-2", "Synthetic Device")),
            refusedAsDisk);
}

TEST_F(AdmissionByDescriptors, AnInterfaceCutBehindItsClassCountsAsNotHid) {
  startWith("hid_only = true\n");
  EXPECT_EQ(decide(deviceWith(interfaceOf(usb_class::hid) + cutBehindClass(usb_class::vendor))),
            refusedAsNotHid);
}

TEST_F(AdmissionByDescriptors, AnInterfaceCutBeforeItsClassDoesNotCount) {
  startWith("smartcard = true\nhid_only = true\nblock_mass_storage = true\n");
  EXPECT_EQ(decide(deviceWith(interfaceOf(usb_class::hid) + cutBeforeClass(usb_class::smartCard))),
            admittedSilently);
}

TEST_F(AdmissionByDescriptors, AnEndpointCutBehindItsAttributesCounts) {
  startWith("");
  EXPECT_EQ(decide(deviceWith(interfaceOf(usb_class::audio) + endpointAttributesOnly)), refusedAsIsochronous);
}

TEST_F(AdmissionByDescriptors, AnEndpointCutBeforeItsAttributesDoesNotCount) {
  startWith("");
  EXPECT_EQ(decide(deviceWith(interfaceOf(usb_class::audio) + endpointAttributesOnly.substr(0, 3))),
            admittedSilently);
}

TEST_F(AdmissionByDescriptors, LongFilesAreReadToTheirEnd) {
  startWith("smartcard = true\n");
  std::string content;
  while (content.size() < 60000) {
    content += interfaceOf(usb_class::vendor) + bytes({255, 0x24}) + std::string(253, '\x04');
  }
  EXPECT_EQ(decide(deviceWith(content + smartCardInterface)), refusedAsSmartCard);
}

TEST_F(AdmissionByDescriptors, AMissingFileEndsTheEvent) {
  startWith("");
  const std::string directory = unit.sysfs.add(mouse());
  unit.sysfs.removeAttribute(directory, "descriptors");
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(decision(), refusedSilently);
  EXPECT_EQ(unit.daemon().messages().at(5), "[rx_ctrl] Exception while processing uevent; ignored.");
}

TEST_F(AdmissionByDescriptors, ADirectoryInTheirPlaceEndsTheEvent) {
  startWith("");
  const std::string directory = unit.sysfs.add(mouse());
  unit.sysfs.removeAttribute(directory, "descriptors");
  unit.sysfs.makeDirectory(directory + "/descriptors");
  unit.uevents.add(directory.substr(4));
  EXPECT_EQ(decision(), refusedSilently);
  EXPECT_TRUE(unit.daemon().hasLine("[rx_ctrl] Exception while processing uevent; ignored."));
}
