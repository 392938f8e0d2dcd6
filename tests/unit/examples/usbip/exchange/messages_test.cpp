#include "examples/usbip/exchange/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <set>
#include <span>
#include <string>

#include "support/thrown.h"
#include "ulx/exceptions.h"
#include "unit/examples/usbip/exchange/bytes.h"

namespace {

using usbip::Greeting;
using usbip::GreetingBytes;
using usbip::Offer;
using usbip::OfferBytes;
using usbip::Speed;
using usbip::Verdict;

template <class Call>
std::string messageThrownBy(Call call) {
  return support::caught<ulx::StrException>(call).message;
}

std::span<const std::uint8_t, usbip::greetingStartSize> startOf(const GreetingBytes& bytes) {
  return std::span(bytes).first<usbip::greetingStartSize>();
}

Greeting someGreeting() {
  return {
      .hasKeys = true, .verdict = Verdict::noFreePort, .challenge = countingFrom<usbip::challengeSize>(0xe0)};
}

TEST(MessagesGreeting, HasMagicVersionKeysVerdictAndChallengeInThisOrder) {
  EXPECT_EQ(hexOf(usbip::encode(someGreeting())),
            "5553422d52584950"
            "0001"
            "01"
            "06"
            "e0e1e2e3e4e5e6e7e8e9eaebecedeeeff0f1f2f3f4f5f6f7f8f9fafbfcfdfeff");
  EXPECT_EQ(hexOf(usbip::encode(Greeting{})),
            "5553422d52584950"
            "0001"
            "0000" +
                std::string(64, '0'));
}

TEST(MessagesGreeting, IsReadAsItWasWritten) {
  EXPECT_EQ(usbip::decode(usbip::encode(someGreeting())), someGreeting());
  EXPECT_EQ(usbip::decode(usbip::encode(Greeting{})), Greeting{});
}

TEST(MessagesGreeting, SpeaksOfKeysWithEveryByteButZero) {
  GreetingBytes bytes = usbip::encode(Greeting{});
  for (int byte = 0; byte <= std::numeric_limits<std::uint8_t>::max(); ++byte) {
    bytes.at(10) = static_cast<std::uint8_t>(byte);
    EXPECT_EQ(usbip::decode(bytes).hasKeys, byte != 0) << byte;
  }
}

TEST(MessagesGreeting, OfAnyVersionHasItsVersionInTwoBytesBehindTheMagic) {
  GreetingBytes bytes = usbip::encode(someGreeting());
  EXPECT_EQ(usbip::versionOf(startOf(bytes)), 1);
  bytes.at(8) = 0xfe;
  bytes.at(9) = 0xdc;
  EXPECT_EQ(usbip::versionOf(startOf(bytes)), 0xfedc);
}

TEST(MessagesGreeting, IsNoneWhereAnyByteOfTheMagicDiffers) {
  for (std::size_t at = 0; at < 8; ++at) {
    GreetingBytes bytes = usbip::encode(someGreeting());
    bytes.at(at) ^= 0x20;
    EXPECT_EQ(messageThrownBy([&] { static_cast<void>(usbip::versionOf(startOf(bytes))); }),
              "this is no greeting")
        << at;
  }
}

TEST(MessagesVersion, IsKnownIfItIsTheOnlyOne) {
  EXPECT_NO_THROW(usbip::expectKnownVersion(1));
  for (const std::uint16_t other : std::initializer_list<std::uint16_t>{0, 2, 256, 65535}) {
    EXPECT_EQ(messageThrownBy([other] { usbip::expectKnownVersion(other); }),
              "version " + std::to_string(other) + " of the exchange is spoken there, version 1 here");
  }
}

TEST(MessagesVerdict, HasTheNumberThatIsSent) {
  EXPECT_EQ((std::array{Verdict::welcome, Verdict::unknownVersion, Verdict::keysNeeded, Verdict::noKeysHere,
                        Verdict::localPeersOnly, Verdict::wrongProof, Verdict::noFreePort,
                        Verdict::speedNotTaken, Verdict::notAttached}),
            (std::array{Verdict{0}, Verdict{1}, Verdict{2}, Verdict{3}, Verdict{4}, Verdict{5}, Verdict{6},
                        Verdict{7}, Verdict{8}}));
}

TEST(MessagesVerdict, HasAReasonOfItsOwn) {
  std::set<std::string> reasons;
  for (int number = 0; number <= std::numeric_limits<std::uint8_t>::max(); ++number) {
    reasons.insert(usbip::reasonOf(static_cast<Verdict>(number)));
  }
  EXPECT_EQ(reasons.size(), 256U);
  EXPECT_EQ(usbip::reasonOf(Verdict::noFreePort), "no port is free there");
}

TEST(MessagesVerdict, HasAReasonWithItsNumberWhereALaterVersionGaveIt) {
  EXPECT_EQ(usbip::reasonOf(Verdict{9}), "the reason 9 is not known here");
  EXPECT_EQ(usbip::reasonOf(Verdict{255}), "the reason 255 is not known here");
}

TEST(MessagesSpeed, HasTheNameThatPeopleUse) {
  EXPECT_EQ(usbip::nameOf(Speed::low), "low speed");
  EXPECT_EQ(usbip::nameOf(Speed::full), "full speed");
  EXPECT_EQ(usbip::nameOf(Speed::high), "high speed");
  EXPECT_EQ(usbip::nameOf(Speed::super), "super speed");
  EXPECT_EQ(usbip::nameOf(Speed::superPlus), "super speed plus");
}

// A tablet: 0627:0001.
constexpr usbip::DeviceDescriptor tablet{18, 1, 0, 2, 0, 0, 0, 64, 0x27, 6, 1, 0, 0, 1, 1, 2, 3, 1};

Offer someOffer() {
  return {.busId = "1-2.4", .devId = 0x00010203, .speed = Speed::high, .descriptor = tablet};
}

TEST(MessagesOffer, HasBusIdDeviceNumberSpeedAZeroAndTheDescriptorInThisOrder) {
  EXPECT_EQ(hexOf(usbip::encode(someOffer())), "312d322e34" + std::string(54, '0') +
                                                   "00010203"
                                                   "03"
                                                   "00"
                                                   "1201000200000040270601000001010203"
                                                   "01");
}

TEST(MessagesOffer, IsReadAsItWasWritten) {
  for (const Speed speed : {Speed::low, Speed::full, Speed::high, Speed::super, Speed::superPlus}) {
    Offer offer = someOffer();
    offer.speed = speed;
    EXPECT_EQ(usbip::decode(usbip::encode(offer)), offer);
  }
}

TEST(MessagesOffer, KeepsTheLongestBusId) {
  Offer offer = someOffer();
  offer.busId = "1-2.3.4.5.6.7.8.9.10.11.12.13.1";
  ASSERT_EQ(offer.busId.size(), 31U);
  EXPECT_EQ(usbip::decode(usbip::encode(offer)), offer);
}

TEST(MessagesOffer, WithoutABusIdOfADeviceCannotBeWritten) {
  const std::string tooLong(32, '1');
  for (const std::string& busId : {std::string(), tooLong, std::string("usb1"), std::string("1-2 "),
                                   std::string("1-2\0", 4), std::string("../1-2"), std::string("1-2\n3-4")}) {
    Offer offer = someOffer();
    offer.busId = busId;
    EXPECT_EQ(messageThrownBy([&] { static_cast<void>(usbip::encode(offer)); }), "this is no bus id")
        << busId;
  }
}

// What reading the bytes of an offer throws.
std::string refusalOf(const OfferBytes& bytes) {
  return messageThrownBy([&bytes] { static_cast<void>(usbip::decode(bytes)); });
}

TEST(MessagesOffer, IsRefusedWithoutABusId) {
  OfferBytes bytes = usbip::encode(someOffer());
  bytes.at(0) = 0;
  EXPECT_EQ(refusalOf(bytes), "this is no bus id");
  std::fill_n(bytes.begin(), 32, '1');
  EXPECT_EQ(refusalOf(bytes), "this is no bus id") << "nothing ends it";
}

TEST(MessagesOffer, IsRefusedWithAnythingButDigitsMinusAndDotInItsBusId) {
  for (int byte = 1; byte <= std::numeric_limits<std::uint8_t>::max(); ++byte) {
    OfferBytes bytes = usbip::encode(someOffer());
    bytes.at(1) = static_cast<std::uint8_t>(byte);
    if (std::string("0123456789-.").find(static_cast<char>(byte)) != std::string::npos) {
      EXPECT_EQ(usbip::decode(bytes).busId, std::string("1") + static_cast<char>(byte) + "2.4");
    } else {
      EXPECT_EQ(refusalOf(bytes), "this is no bus id") << byte;
    }
  }
}

TEST(MessagesOffer, IsRefusedWithASpeedThatTheKernelDoesNotGiveToDevices) {
  for (int speed = 0; speed <= std::numeric_limits<std::uint8_t>::max(); ++speed) {
    OfferBytes bytes = usbip::encode(someOffer());
    bytes.at(36) = static_cast<std::uint8_t>(speed);
    if (std::set<int>{1, 2, 3, 5, 6}.contains(speed)) {
      EXPECT_EQ(static_cast<int>(usbip::decode(bytes).speed), speed);
    } else {
      EXPECT_EQ(refusalOf(bytes), "there is no speed " + std::to_string(speed));
    }
  }
}

TEST(MessagesOffer, IsRefusedWithoutADeviceDescriptor) {
  for (const std::size_t at : {38U, 39U}) {  // its length and its type
    OfferBytes bytes = usbip::encode(someOffer());
    ++bytes.at(at);
    EXPECT_EQ(refusalOf(bytes), "this is no device descriptor") << at;
  }
}

TEST(MessagesOffer, MayHaveAnythingBehindTheEndOfTheBusIdAndBehindTheSpeed) {
  OfferBytes bytes = usbip::encode(someOffer());
  std::fill(bytes.begin() + 6, bytes.begin() + 32, 0xff);
  bytes.at(37) = 0xff;
  EXPECT_EQ(usbip::decode(bytes), someOffer());
}

TEST(MessagesProductId, IsThatOfTheDescriptorWithFourDigitsForEachNumber) {
  EXPECT_EQ(usbip::productIdOf(tablet), "0627:0001");
  usbip::DeviceDescriptor other = tablet;
  other[8] = 0xcd;
  other[9] = 0xab;
  other[10] = 0x34;
  other[11] = 0x12;
  EXPECT_EQ(usbip::productIdOf(other), "abcd:1234");
}

}  // namespace
