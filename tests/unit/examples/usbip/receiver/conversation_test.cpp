#include "examples/usbip/receiver/conversation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/named_case.h"
#include "support/thrown.h"
#include "ulx/exceptions.h"
#include "unit/examples/usbip/receiver/far_side.h"

namespace {

using usbip::Greeting;
using usbip::GreetingBytes;
using usbip::Keys;
using usbip::Verdict;
using Bytes = std::vector<std::uint8_t>;

const Keys keys{.in = "secret of the far side", .out = "secret of the worker"};

const std::string closed = "the far side has closed the connection";

// The message by which an agreement fails.
std::string failureOf(const std::function<void()>& talk) {
  return support::caught<ulx::StrException>(talk).message;
}

std::string failedIntroduction(const FarSide& farSide, const std::optional<Keys>& workersKeys = {}) {
  return failureOf([&] { usbip::introduceTo(farSide.connection(), workersKeys); });
}

Bytes bytesOf(Verdict verdict) {
  return {static_cast<std::uint8_t>(verdict)};
}

GreetingBytes greetingOf(std::span<const std::uint8_t> heard) {
  GreetingBytes greeting{};
  std::copy(heard.begin(), heard.end(), greeting.begin());
  return greeting;
}

usbip::Offer offeredDevice() {
  usbip::Offer offer{.busId = "1-2", .devId = 0x10003, .speed = usbip::Speed::high};
  offer.descriptor[0] = usbip::deviceDescriptorSize;
  offer.descriptor[1] = 1;
  return offer;
}

struct NamedVerdict : support::NamedCase {
  Verdict verdict;
};

const std::vector<NamedVerdict> refusals{{{"UnknownVersion"}, Verdict::unknownVersion},
                                         {{"KeysNeeded"}, Verdict::keysNeeded},
                                         {{"NoKeysHere"}, Verdict::noKeysHere},
                                         {{"LocalPeersOnly"}, Verdict::localPeersOnly},
                                         {{"WrongProof"}, Verdict::wrongProof},
                                         {{"NoFreePort"}, Verdict::noFreePort},
                                         {{"SpeedNotTaken"}, Verdict::speedNotTaken},
                                         {{"NotAttached"}, Verdict::notAttached},
                                         {{"OneOfALaterVersion"}, static_cast<Verdict>(9)}};

TEST(Conversation, BeginsWithAGreetingOfThisVersionWithoutKeys) {
  const FarSide farSide;
  farSide.say(encode(Greeting{}));
  usbip::introduceTo(farSide.connection(), {});
  EXPECT_EQ(greetingOf(farSide.hear(usbip::greetingSize)), encode(Greeting{}));
}

TEST(Conversation, ReadsNoByteBehindTheGreeting) {
  const FarSide farSide;
  farSide.say(encode(Greeting{}));
  farSide.say(Bytes(5));
  usbip::introduceTo(farSide.connection(), {});
  EXPECT_EQ(farSide.unread(), 5U);
}

TEST(Conversation, NamesBothVersionsAsSoonAsItHearsAnotherOne) {
  const FarSide farSide;
  GreetingBytes greeting = encode(Greeting{});
  greeting[9] = 7;
  farSide.say(std::span(greeting).first(usbip::greetingStartSize));  // and nothing more
  EXPECT_EQ(failedIntroduction(farSide), "version 7 of the exchange is spoken there, version 1 here");
}

TEST(Conversation, HearsWhenThereIsNoGreeting) {
  const FarSide farSide;
  constexpr std::string_view other = "HTTP/1.1 4";
  farSide.say(Bytes(other.begin(), other.end()));
  EXPECT_EQ(failedIntroduction(farSide), "this is no greeting");
}

TEST(Conversation, EndsWithAGreetingThatIsCutShort) {
  const GreetingBytes greeting = encode(Greeting{});
  for (std::size_t length = 0; length < greeting.size(); ++length) {
    const FarSide farSide;
    farSide.say(std::span(greeting).first(length));
    farSide.fallSilent();
    EXPECT_EQ(failedIntroduction(farSide), closed) << length << " bytes";
  }
}

class ConversationRefusals : public testing::TestWithParam<NamedVerdict> {
 protected:
  const std::string reason = "refused: " + usbip::reasonOf(GetParam().verdict);
};

TEST_P(ConversationRefusals, OfAGreetingHaveTheirReason) {
  const FarSide farSide;
  farSide.say(encode(Greeting{.verdict = GetParam().verdict}));
  EXPECT_EQ(failedIntroduction(farSide), reason);
}

TEST_P(ConversationRefusals, OfAnOfferHaveTheirReason) {
  const FarSide farSide;
  farSide.say(bytesOf(GetParam().verdict));
  EXPECT_EQ(failureOf([&] { usbip::offerTo(farSide.connection(), offeredDevice()); }), reason);
}

TEST_P(ConversationRefusals, AreHeardOfAFarSideThatHasGone) {
  FarSide farSide;
  farSide.say(encode(Greeting{.verdict = GetParam().verdict}));
  farSide.leave();
  EXPECT_EQ(failedIntroduction(farSide), reason);
}

INSTANTIATE_TEST_SUITE_P(All, ConversationRefusals, testing::ValuesIn(refusals),
                         testing::PrintToStringParamName());

TEST(Conversation, OffersTheDeviceAndLeavesWhatFollowsTheAnswerToTheKernel) {
  const FarSide farSide;
  farSide.say(bytesOf(Verdict::welcome));
  farSide.say(Bytes(48));
  usbip::offerTo(farSide.connection(), offeredDevice());
  const usbip::OfferBytes offer = encode(offeredDevice());
  EXPECT_EQ(farSide.hear(usbip::offerSize), Bytes(offer.begin(), offer.end()));
  EXPECT_EQ(farSide.unread(), 48U);
}

TEST(Conversation, EndsWithAnOfferThatIsNotAnswered) {
  const FarSide farSide;
  farSide.fallSilent();
  EXPECT_EQ(failureOf([&] { usbip::offerTo(farSide.connection(), offeredDevice()); }), closed);
}

TEST(ConversationKeys, AreNotProvedToAFarSideWithoutKeys) {
  const FarSide farSide;
  farSide.say(encode(Greeting{.hasKeys = false}));
  EXPECT_EQ(failedIntroduction(farSide, keys), "refused: there are no keys there");
  farSide.connection().send(Bytes{0xee});
  EXPECT_EQ(farSide.hear(usbip::greetingSize + 1).back(), 0xee) << "a proof follows the greeting";
}

TEST(ConversationKeys, OfTheFarSideAloneAreRefused) {
  const FarSide farSide;
  farSide.say(encode(Greeting{.hasKeys = true}));
  EXPECT_EQ(failedIntroduction(farSide), "refused: keys are needed there");
}

// A worker with keys in a thread of its own, and a far side that has heard its greeting and answered it.
class ConversationProofs : public testing::Test {
 protected:
  void SetUp() override {
    heard = greetingOf(farSide.hear(usbip::greetingSize));
    farSide.say(said);
  }

  // How the worker's introduction fails; empty when it does not.
  std::string failure() {
    try {
      worker.get();
    } catch (const ulx::StrException& failed) {
      return failed.message;
    }
    return {};
  }

  FarSide farSide;
  std::future<void> worker =
      std::async(std::launch::async, [this] { usbip::introduceTo(farSide.connection(), keys); });
  GreetingBytes heard{};
  GreetingBytes said = encode(Greeting{.hasKeys = true, .challenge = usbip::freshChallenge()});
};

TEST_F(ConversationProofs, ShowThatBothEndsHaveTheKeys) {
  const usbip::Proof expected = workersProof(keys, heard, said);
  EXPECT_EQ(farSide.hear(expected.size()), Bytes(expected.begin(), expected.end()));
  farSide.say(bytesOf(Verdict::welcome));
  farSide.say(farSidesProof(keys, heard, said));
  EXPECT_EQ(failure(), "");
}

TEST_F(ConversationProofs, ReadNoByteBehindTheirEnd) {
  farSide.say(bytesOf(Verdict::welcome));
  farSide.say(farSidesProof(keys, heard, said));
  farSide.say(Bytes(3));
  EXPECT_EQ(failure(), "");
  EXPECT_EQ(farSide.unread(), 3U);
}

TEST_F(ConversationProofs, ThatTheFarSideRefusesEndTheConversation) {
  farSide.say(bytesOf(Verdict::wrongProof));
  EXPECT_EQ(failure(), "refused: the keys there are different");
}

TEST_F(ConversationProofs, OfTheFarSideNeedTheSecondKey) {
  farSide.say(bytesOf(Verdict::welcome));
  farSide.say(usbip::farSidesProof({.in = keys.out, .out = keys.in}, heard, said));
  EXPECT_EQ(failure(), "refused: the far side has not proved that it knows the keys");
}

TEST_F(ConversationProofs, OfTheWorkerProveNothingWhenTheyComeBack) {
  const Bytes proof = farSide.hear(std::tuple_size_v<usbip::Proof>);
  farSide.say(bytesOf(Verdict::welcome));
  farSide.say(proof);
  EXPECT_EQ(failure(), "refused: the far side has not proved that it knows the keys");
}

TEST_F(ConversationProofs, OfAnotherConversationAreRefused) {
  GreetingBytes earlier = heard;
  earlier.back() ^= 1U;
  farSide.say(bytesOf(Verdict::welcome));
  farSide.say(farSidesProof(keys, earlier, said));
  EXPECT_EQ(failure(), "refused: the far side has not proved that it knows the keys");
}

TEST_F(ConversationProofs, ThatAreCutShortEndTheConversation) {
  farSide.say(bytesOf(Verdict::welcome));
  const usbip::Proof proof = farSidesProof(keys, heard, said);
  farSide.say(std::span(proof).first<31>());
  farSide.fallSilent();
  EXPECT_EQ(failure(), closed);
}

TEST_F(ConversationProofs, AreOfAChallengeThatNoOtherConversationHas) {
  const FarSide other;
  other.fallSilent();
  EXPECT_EQ(failedIntroduction(other, keys), closed);
  EXPECT_NE(usbip::decode(greetingOf(other.hear(usbip::greetingSize))).challenge,
            usbip::decode(heard).challenge);
  EXPECT_TRUE(usbip::decode(heard).hasKeys);
  farSide.leave();
}

}  // namespace
