#include "tools/explain/descriptor_listing.h"

#include <gtest/gtest.h>

#include "sim/usb_descriptors.h"
#include "support/named_case.h"

namespace {

using explain::DescriptorListing;
using explain::listDescriptors;
using sim::bytes;

constexpr std::uint8_t isochronous = sim::transfer_type::isochronous;
constexpr std::uint8_t bulk = sim::transfer_type::bulk;
constexpr std::uint8_t interrupt = sim::transfer_type::interrupt;

std::string device(const std::string& content) {
  return sim::deviceDescriptor() + sim::configuration(content);
}

const std::string headset = device(sim::interface(1, 2, 3, 4, 5) + sim::endpoint(isochronous, 0x02) +
                                   sim::interface(3, 0, 0, 5) + sim::endpoint(interrupt));

TEST(DescriptorListing, HasInterfacesWithTheirEndpointsAndPlaces) {
  const DescriptorListing listing = listDescriptors(headset);
  EXPECT_EQ(listing.damage, "");
  EXPECT_EQ(listing.end, headset.size());
  EXPECT_EQ(listing.configurations, 1U);
  ASSERT_EQ(listing.interfaces.size(), 2U);
  const explain::Interface& audio = listing.interfaces[0];
  EXPECT_EQ(audio.offset, 27U);
  EXPECT_EQ(audio.interfaceClass, 1);
  EXPECT_EQ(audio.subclass, 2);
  EXPECT_EQ(audio.protocol, 3);
  EXPECT_EQ(audio.number, 4);
  EXPECT_EQ(audio.alternateSetting, 5);
  ASSERT_EQ(audio.endpoints.size(), 1U);
  EXPECT_EQ(audio.endpoints[0].offset, 36U);
  EXPECT_EQ(audio.endpoints[0].address, 0x02);
  EXPECT_EQ(audio.endpoints[0].attributes, isochronous);
  EXPECT_EQ(listing.interfaces[1].number, 5);
  EXPECT_EQ(listing.interfaces[1].endpoints.size(), 1U);
}

TEST(DescriptorListing, HasWhatTheDeviceDescriptorSays) {
  const DescriptorListing listing =
      listDescriptors(bytes({18, 1, 0, 2, 0xEF, 0, 0, 64, 0x6B, 0x1D, 0x04, 0x01, 0, 0, 0, 0, 0, 2}));
  EXPECT_EQ(listing.firstType, 1);
  EXPECT_EQ(listing.deviceClass, 0xEF);
  EXPECT_EQ(listing.vendor, 0x1D6B);
  EXPECT_EQ(listing.product, 0x0104);
}

struct Damaged : support::NamedCase {
  std::string descriptors;
  std::size_t end;
  std::string damage;
  std::size_t interfaces;
};

class DescriptorListingDamaged : public testing::TestWithParam<Damaged> {};

INSTANTIATE_TEST_SUITE_P(
    By, DescriptorListingDamaged,
    testing::Values(Damaged{{"NoLength"},
                            device(sim::interface(3, 1, 1) + bytes({0, 4, 0}) + sim::interface(3, 1, 2)),
                            36,
                            "the descriptor there has the length 0 (bLength)",
                            1},
                    Damaged{{"CutInTheDevice"},
                            headset.substr(0, 10),
                            0,
                            "the descriptor there is cut short: 10 of its 18 bytes are there",
                            0},
                    Damaged{{"CutInAnInterface"},
                            headset.substr(0, 33),
                            27,
                            "the descriptor there is cut short: 6 of its 9 bytes are there",
                            1},
                    Damaged{{"SingleByte"}, headset.substr(0, 28), 27, "a single byte is no descriptor", 0},
                    Damaged{{"Nothing"}, "", 0, "", 0}));

TEST_P(DescriptorListingDamaged, EndsThereAndSaysWhy) {
  const DescriptorListing listing = listDescriptors(GetParam().descriptors);
  EXPECT_EQ(listing.bytes, GetParam().descriptors.size());
  EXPECT_EQ(listing.end, GetParam().end);
  EXPECT_EQ(listing.damage, GetParam().damage);
  EXPECT_EQ(listing.interfaces.size(), GetParam().interfaces);
}

TEST(DescriptorListing, LacksTheFieldsOfADescriptorThatAreCutOff) {
  const DescriptorListing listing = listDescriptors(headset.substr(0, 33));
  EXPECT_EQ(listing.interfaces.at(0).interfaceClass, 1) << "the rules of the policy read it";
  EXPECT_FALSE(listing.interfaces.at(0).subclass);
}

TEST(DescriptorListing, KeepsAnEndpointWithoutAnInterface) {
  const DescriptorListing listing = listDescriptors(device(sim::endpoint(isochronous)));
  ASSERT_EQ(listing.interfaces.size(), 1U);
  EXPECT_FALSE(listing.interfaces[0].number);
  EXPECT_EQ(listing.interfaces[0].endpoints.size(), 1U);
}

std::string endpointOf(std::uint8_t attributes, unsigned packetSize) {
  return bytes({7, 5, 0x81, attributes, packetSize & 0xFFU, packetSize >> 8U, 1});
}

std::string deviceWithControlPackets(unsigned size) {
  return bytes({18, 1, 0, 2, 0, 0, 0, size, 0x6B, 0x1D, 0x04, 0x01, 0, 0, 0, 0, 0, 1});
}

struct Inferred : support::NamedCase {
  std::string endpoints;
  std::string speed;
  unsigned controlPacketSize = 64;
};

class DescriptorListingSpeed : public testing::TestWithParam<Inferred> {};

INSTANTIATE_TEST_SUITE_P(
    Of, DescriptorListingSpeed,
    testing::Values(Inferred{{"NoEndpoint"}, "", ""}, Inferred{{"SmallBulk"}, endpointOf(bulk, 64), ""},
                    Inferred{{"LargeBulk"}, endpointOf(bulk, 512), "480"},
                    Inferred{{"SmallInterrupt"}, endpointOf(interrupt, 64), ""},
                    Inferred{{"LargeInterrupt"}, endpointOf(interrupt, 65), "480"},
                    Inferred{{"SmallIsochronous"}, endpointOf(isochronous, 1023), ""},
                    Inferred{{"LargeIsochronous"}, endpointOf(isochronous, 1024), "480"},
                    Inferred{{"SeveralTransactions"}, endpointOf(isochronous, 0x1400), "480"},
                    Inferred{{"SecondEndpoint"}, endpointOf(bulk, 8) + endpointOf(bulk, 512), "480"},
                    Inferred{{"ControlPackets8"}, endpointOf(interrupt, 8), "12", 8},
                    Inferred{{"ControlPackets16"}, "", "12", 16},
                    Inferred{{"ControlPackets32"}, "", "12", 32},
                    Inferred{{"ControlPacketsOfNoSize"}, "", "", 0},
                    Inferred{{"Companion"}, endpointOf(bulk, 1024) + bytes({6, 0x30, 0, 0, 0, 0}), "5000"}));

TEST_P(DescriptorListingSpeed, IsWhatTheDescriptorsProve) {
  const std::string descriptors = deviceWithControlPackets(GetParam().controlPacketSize) +
                                  sim::configuration(sim::interface(0xFF, 0, 0) + GetParam().endpoints);
  EXPECT_EQ(inferredSpeed(listDescriptors(descriptors)), GetParam().speed);
}

}  // namespace
