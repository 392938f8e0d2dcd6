#include <gtest/gtest.h>

#include "system/support/admission_check.h"

namespace {

using sim::endpoint;
using sim::interface;
namespace usb_class = sim::usb_class;
namespace transfer_type = sim::transfer_type;

using AdmissionRules = AdmissionCheck;

constexpr std::uint8_t printer = 0x07;
constexpr std::uint8_t smartCard = usb_class::smartCard;
constexpr std::uint8_t massStorage = usb_class::massStorage;

/** One interface of a class; its bytes but the class are such that a test of a wrong byte would be misled. */
std::string plainInterface(std::uint8_t interfaceClass) {
  return interface(interfaceClass, 0x3f, 0x3f, 0x3f, 0x3f);
}

}  // namespace

TEST_F(AdmissionRules, ASmartCardReaderIsRefusedWhereSmartCardsAreSecuredLocally) {
  startWith("smartcard = true\n");
  EXPECT_EQ(decide(deviceOfClass(smartCard)), refusedWith("Synthetic Devicelocal smartcard security\n"));
}

TEST_F(AdmissionRules, ASmartCardReaderIsAdmittedWhereSmartCardsAreNotSecuredLocally) {
  startWith("smartcard = false\n");
  EXPECT_EQ(decide(deviceOfClass(smartCard)), admittedSilently);
}

TEST_F(AdmissionRules, ASmartCardInterfaceBehindOthersIsFound) {
  startWith("smartcard = true\n");
  EXPECT_EQ(decide(deviceWith(interfaceOf(usb_class::vendor) + endpoint(transfer_type::bulk) +
                              interfaceOf(smartCard))),
            refusedWith("Synthetic Devicelocal smartcard security\n"));
}

TEST_F(AdmissionRules, LocalSmartCardSecurityConcernsNoOtherDevice) {
  startWith("smartcard = true\n");
  EXPECT_EQ(decide(deviceWith(plainInterface(massStorage) + plainInterface(0x0a) + plainInterface(0x0c))),
            admittedSilently);
}

TEST_F(AdmissionRules, AVendorSpecificInterfaceIsRefusedWhereOnlyHidIsAllowed) {
  startWith("hid_only = true\n");
  EXPECT_EQ(decide(deviceOfClass(usb_class::vendor)),
            refusedWith("Synthetic Device is not supported because it has non-HID endpoints\n"));
}

TEST_F(AdmissionRules, OneInterfaceThatIsNotHidIsEnoughToBeRefusedWhereOnlyHidIsAllowed) {
  startWith("hid_only = true\n");
  EXPECT_EQ(decide(deviceWith(plainInterface(usb_class::hid) + plainInterface(usb_class::vendor))),
            refusedWith("Synthetic Device is not supported because it has non-HID endpoints\n"));
}

TEST_F(AdmissionRules, ADeviceOfHidInterfacesAloneIsAdmittedWhereOnlyHidIsAllowed) {
  startWith("hid_only = true\n");
  EXPECT_EQ(decide(deviceWith(plainInterface(usb_class::hid) + plainInterface(usb_class::hid))),
            admittedSilently);
}

TEST_F(AdmissionRules, ADeviceWithoutAnyInterfaceIsAdmittedWhereOnlyHidIsAllowed) {
  startWith("hid_only = true\n");
  EXPECT_EQ(decide(deviceWith("")), admittedSilently);
}

TEST_F(AdmissionRules, AVendorSpecificInterfaceIsAdmittedWhereNotOnlyHidIsAllowed) {
  startWith("hid_only = false\n");
  EXPECT_EQ(decide(deviceOfClass(usb_class::vendor)), admittedSilently);
}

TEST_F(AdmissionRules, MassStorageIsRefusedWhereItIsBlocked) {
  startWith("block_mass_storage = true\n");
  EXPECT_EQ(decide(deviceOfClass(massStorage)),
            refusedWith("Synthetic Device configuration blocked due to mass storage capability\n"));
}

TEST_F(AdmissionRules, MassStorageBesidesOtherInterfacesIsRefusedWhereItIsBlocked) {
  startWith("block_mass_storage = true\n");
  EXPECT_EQ(
      decide(deviceWith(interfaceOf(printer) + endpoint(transfer_type::bulk) + interfaceOf(massStorage))),
      refusedWith("Synthetic Device configuration blocked due to mass storage capability\n"));
}

TEST_F(AdmissionRules, BlockedMassStorageConcernsNoOtherDevice) {
  startWith("block_mass_storage = true\n");
  EXPECT_EQ(decide(deviceWith(plainInterface(printer) + plainInterface(smartCard) + plainInterface(0x09))),
            admittedSilently);
}

TEST_F(AdmissionRules, MassStorageIsAdmittedWhereItIsNotBlocked) {
  startWith("block_mass_storage = false\n");
  EXPECT_EQ(decide(deviceOfClass(massStorage)), admittedSilently);
}

TEST_F(AdmissionRules, ClassesAreThoseOfInterfacesNotOfTheDevice) {
  startWith("smartcard = true\nblock_mass_storage = true\n");
  sim::UsbDevice device =
      deviceWithRaw(sim::deviceDescriptor(massStorage) + sim::configuration(interfaceOf(usb_class::vendor)));
  device.deviceClass = "08";
  EXPECT_EQ(decide(device), admittedSilently);
}

TEST_F(AdmissionRules, InterfacesOfEveryConfigurationCount) {
  startWith("block_mass_storage = true\n");
  EXPECT_EQ(decide(deviceWithRaw(sim::deviceDescriptor(usb_class::perInterface, 2) +
                                 sim::configuration(interfaceOf(usb_class::vendor)) +
                                 sim::configuration(interfaceOf(massStorage)))),
            refusedWith("Synthetic Device configuration blocked due to mass storage capability\n"));
}

TEST_F(AdmissionRules, EveryKeyMayBeOnAtOnce) {
  startWith(
      "smartcard = true\nhid_only = true\nblock_mass_storage = true\n"
      "isochronous_enabled = true\nisochronous_user_warning = true\n");
  EXPECT_EQ(decide(mouse()), admittedSilently);
}

TEST_F(AdmissionRules, EachCheckStandsForItself) {
  startWith("block_mass_storage = true\n");
  EXPECT_EQ(decide(named(deviceOfClass(massStorage), "1-1", "First")),
            refusedWith("First configuration blocked due to mass storage capability\n"));
  EXPECT_EQ(decide(named(deviceOfClass(printer), "1-2", "Second")), admittedSilently);
  EXPECT_EQ(decide(named(deviceOfClass(massStorage), "1-3", "Third")),
            refusedWith("Third configuration blocked due to mass storage capability\n"));
}
