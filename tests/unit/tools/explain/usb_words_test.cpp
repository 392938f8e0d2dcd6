#include "tools/explain/usb_words.h"

#include <gtest/gtest.h>

#include "support/named_case.h"

namespace {

using explain::Endpoint;
using explain::Interface;

struct Class : support::NamedCase {
  Interface interface;
  std::string words;
};

Interface interfaceOf(std::uint8_t interfaceClass, std::uint8_t subclass, std::uint8_t protocol) {
  Interface interface;
  interface.interfaceClass = interfaceClass;
  interface.subclass = subclass;
  interface.protocol = protocol;
  return interface;
}

Interface settingOf(std::uint8_t number, std::uint8_t alternateSetting) {
  Interface interface;
  interface.number = number;
  interface.alternateSetting = alternateSetting;
  return interface;
}

Endpoint endpointOf(std::uint8_t address, std::uint8_t attributes) {
  Endpoint endpoint;
  endpoint.address = address;
  endpoint.attributes = attributes;
  return endpoint;
}

class UsbWordsOfClass : public testing::TestWithParam<Class> {};

INSTANTIATE_TEST_SUITE_P(
    A, UsbWordsOfClass,
    testing::Values(Class{{"BootKeyboard"}, interfaceOf(3, 1, 1), "HID boot keyboard (3/1/1)"},
                    Class{
                        {"Keyboard"}, interfaceOf(3, 0, 1), "HID keyboard without the boot protocol (3/0/1)"},
                    Class{{"Mouse"}, interfaceOf(3, 0, 2), "HID mouse (3/0/2)"},
                    Class{{"Disk"}, interfaceOf(8, 6, 0x50), "mass storage (SCSI, bulk-only) (8/6/80)"},
                    Class{{"UnknownSubclass"}, interfaceOf(8, 9, 9), "mass storage (8/9/9)"},
                    Class{{"Vendor"}, interfaceOf(255, 1, 2), "vendor specific (255/1/2)"},
                    Class{{"UnknownClass"}, interfaceOf(66, 1, 2), "class 66 (66/1/2)"},
                    Class{{"CutOff"}, Interface{}, "of a class that is not there (?/?/?)"}));

TEST_P(UsbWordsOfClass, NameItWithItsNumbers) {
  EXPECT_EQ(interfaceClassWords(GetParam().interface), GetParam().words);
}

TEST(UsbWords, NameTheClassOfADevice) {
  EXPECT_EQ(explain::deviceClassWords(0), "given by each interface (0)");
  EXPECT_EQ(explain::deviceClassWords(9), "hub (9)");
}

TEST(UsbWords, NameAnInterfaceByItsNumberAndLaterSettings) {
  EXPECT_EQ(interfaceWords(settingOf(2, 0)), "interface 2");
  EXPECT_EQ(interfaceWords(settingOf(2, 3)), "interface 2 (setting 3)");
  EXPECT_EQ(interfaceWords(Interface{}), "interface ?");
}

TEST(UsbWords, NameAnEndpointByAddressTypeAndDirection) {
  EXPECT_EQ(endpointWords(endpointOf(0x81, 0x05)), "endpoint 0x81 (isochronous in)");
  EXPECT_EQ(endpointWords(endpointOf(0x02, 2)), "endpoint 0x02 (bulk out)");
  EXPECT_EQ(endpointWords(Endpoint{}), "endpoint ? (? ?)");
}

TEST(UsbWords, NameSpeedsThatTheyKnow) {
  EXPECT_EQ(explain::speedWords("1.5"), "low speed, 1.5 Mbit/s");
  EXPECT_EQ(explain::speedWords("480"), "high speed, 480 Mbit/s");
  EXPECT_EQ(explain::speedWords("40000"), "40000 Mbit/s");
  EXPECT_EQ(explain::speedWords(""), "of unknown speed");
}

explain::DescriptorListing listingWithControlPackets(std::uint8_t size) {
  explain::DescriptorListing listing;
  listing.controlPacketSize = size;
  return listing;
}

TEST(UsbWords, SayHowFarASpeedIsInferred) {
  EXPECT_EQ(inferredSpeedWords(listingWithControlPackets(64)),
            "full or high speed: the descriptors do not say");
  EXPECT_EQ(inferredSpeedWords(listingWithControlPackets(8)),
            "12 Mbit/s or less (inferred from its control endpoint)");
  EXPECT_EQ(inferredSpeedWords(explain::DescriptorListing()), "of unknown speed: the descriptors do not say");
  explain::DescriptorListing fast;
  fast.hasCompanions = true;
  EXPECT_EQ(inferredSpeedWords(fast), "SuperSpeed, 5 Gbit/s (inferred from its endpoints)");
}

}  // namespace
