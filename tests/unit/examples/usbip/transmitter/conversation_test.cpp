#include "examples/usbip/transmitter/conversation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "unit/examples/usbip/transmitter/made_up_worker.h"

namespace {

using usbip::Admission;
using usbip::Conversation;
using usbip::Verdict;
using worker::Bytes;
using worker::bytesOf;

constexpr std::size_t proofSize = std::tuple_size_v<usbip::Proof>;

const Admission withoutKeys;
const usbip::Keys keys{.in = "in", .out = "out"};
const Admission withKeys{.keys = keys};

usbip::Challenge challenge() {
  usbip::Challenge bytes{};
  bytes.fill(0x5A);
  return bytes;
}

Conversation withLocalPeer(const Admission& admission) {
  return {admission, true, challenge()};
}

Conversation withRemotePeer(const Admission& admission) {
  return {admission, false, challenge()};
}

usbip::GreetingBytes greetingIn(const Bytes& bytes) {
  usbip::GreetingBytes greeting{};
  EXPECT_EQ(bytes.size(), greeting.size());
  std::copy_n(bytes.begin(), std::min(bytes.size(), greeting.size()), greeting.begin());
  return greeting;
}

Verdict verdictIn(const Bytes& greeting) {
  return usbip::decode(greetingIn(greeting)).verdict;
}

// Says as much of `bytes` at a time as is wanted, as a socket would be read.
Bytes say(Conversation& conversation, std::span<const std::uint8_t> bytes) {
  Bytes answers;
  while (!bytes.empty() && conversation.bytesWanted() > 0) {
    const std::size_t length = std::min(bytes.size(), conversation.bytesWanted());
    const Bytes answer = conversation.receive(bytes.first(length));
    answers.insert(answers.end(), answer.begin(), answer.end());
    bytes = bytes.subspan(length);
  }
  return answers;
}

Bytes withBusId(const std::string& busId) {
  Bytes bytes = bytesOf(usbip::encode(worker::offer()));
  std::fill_n(bytes.begin(), usbip::busIdSize, std::uint8_t{0});
  std::copy_n(busId.begin(), std::min(busId.size(), usbip::busIdSize), bytes.begin());
  return bytes;
}

void expectEnd(const Conversation& conversation, const std::string& refusal) {
  EXPECT_EQ(conversation.refusal(), refusal);
  EXPECT_EQ(conversation.bytesWanted(), 0U);
  EXPECT_FALSE(conversation.offer());
}

TEST(ConversationOfFarSide, AnswersAGreetingAndTakesAnOffer) {
  Conversation conversation = withLocalPeer(withoutKeys);
  const usbip::Greeting own = usbip::decode(greetingIn(say(conversation, worker::greeting())));
  EXPECT_EQ(own.verdict, Verdict::welcome);
  EXPECT_FALSE(own.hasKeys);
  EXPECT_EQ(own.challenge, usbip::Challenge{});
  EXPECT_FALSE(conversation.offer());
  EXPECT_TRUE(say(conversation, usbip::encode(worker::offer())).empty());
  ASSERT_TRUE(conversation.offer());
  EXPECT_EQ(conversation.offer()->busId, "1-2");
  EXPECT_EQ(conversation.offer()->devId, 0x10002U);
  EXPECT_EQ(conversation.offer()->speed, usbip::Speed::high);
  EXPECT_EQ(usbip::productIdOf(conversation.offer()->descriptor), "0627:0001");
  EXPECT_FALSE(conversation.refusal());
}

TEST(ConversationOfFarSide, WantsNoByteThatMayBelongToTheKernel) {
  Conversation conversation = withLocalPeer(withoutKeys);
  EXPECT_EQ(conversation.bytesWanted(), usbip::greetingStartSize);
  static_cast<void>(say(conversation, worker::startOf(worker::greeting(), usbip::greetingStartSize)));
  EXPECT_EQ(conversation.bytesWanted(), usbip::greetingSize - usbip::greetingStartSize);
  static_cast<void>(say(conversation, worker::restOf(worker::greeting(), usbip::greetingStartSize)));
  EXPECT_EQ(conversation.bytesWanted(), usbip::offerSize);
  static_cast<void>(say(conversation, worker::startOf(usbip::encode(worker::offer()), usbip::offerSize - 1)));
  EXPECT_EQ(conversation.bytesWanted(), 1U);
  static_cast<void>(say(conversation, worker::restOf(usbip::encode(worker::offer()), usbip::offerSize - 1)));
  EXPECT_EQ(conversation.bytesWanted(), 0U);
}

TEST(ConversationOfFarSide, SaysTheSameHoweverTheBytesArrive) {
  const Bytes greeting = bytesOf(worker::greeting(true));
  for (std::size_t piece = 1; piece <= greeting.size(); ++piece) {
    Conversation conversation = withLocalPeer(withKeys);
    Bytes answer;
    for (std::size_t at = 0; at < greeting.size(); at += piece) {
      EXPECT_TRUE(answer.empty());
      answer = say(conversation, std::span(greeting).subspan(at, std::min(piece, greeting.size() - at)));
    }
    EXPECT_EQ(verdictIn(answer), Verdict::welcome);
    EXPECT_EQ(conversation.bytesWanted(), proofSize);
  }
}

TEST(ConversationOfFarSide, NamesTheMessageThatIsNotThereYet) {
  Conversation conversation = withLocalPeer(withKeys);
  EXPECT_EQ(conversation.awaited(), "the greeting");
  static_cast<void>(say(conversation, worker::startOf(worker::greeting(true), usbip::greetingStartSize)));
  EXPECT_EQ(conversation.awaited(), "the greeting");
  const Bytes own = say(conversation, worker::restOf(worker::greeting(true), usbip::greetingStartSize));
  EXPECT_EQ(conversation.awaited(), "the proof");
  static_cast<void>(say(conversation, usbip::workersProof(keys, worker::greeting(true), greetingIn(own))));
  EXPECT_EQ(conversation.awaited(), "the offer");
}

TEST(ConversationOfFarSide, RefusesWhatIsNoGreetingAsSoonAsThatShows) {
  Conversation conversation = withLocalPeer(withoutKeys);
  Bytes garbage(usbip::greetingStartSize, 'x');
  EXPECT_TRUE(say(conversation, garbage).empty());
  expectEnd(conversation, "this is no greeting");
}

TEST(ConversationOfFarSide, AnswersAnotherVersionAsSoonAsItShowsAndNamesBoth) {
  for (const Admission& admission : {withoutKeys, withKeys}) {
    Conversation conversation = withLocalPeer(admission);
    const Bytes answer =
        say(conversation, worker::startOf(worker::greetingOfVersion(2), usbip::greetingStartSize));
    EXPECT_EQ(verdictIn(answer), Verdict::unknownVersion);
    expectEnd(conversation, "version 2 of the exchange is spoken there, version 1 here");
  }
}

TEST(ConversationOfFarSide, NeedsKeysOfAWorkerWhereThereAreSome) {
  Conversation conversation = withLocalPeer(withKeys);
  EXPECT_EQ(verdictIn(say(conversation, worker::greeting())), Verdict::keysNeeded);
  expectEnd(conversation, "it has no keys");
}

TEST(ConversationOfFarSide, SendsAWorkerWithKeysAwayWhereThereAreNone) {
  const Admission anyPeer{.keys = {}, .anyPeer = true};
  for (const Admission& admission : {withoutKeys, anyPeer}) {
    Conversation conversation = withLocalPeer(admission);
    EXPECT_EQ(verdictIn(say(conversation, worker::greeting(true))), Verdict::noKeysHere);
    expectEnd(conversation, "it has keys, and there are none here (--keys)");
  }
}

TEST(ConversationOfFarSide, ServesOtherMachinesWithoutKeysOnlyWhereThatIsAllowed) {
  Conversation refused = withRemotePeer(withoutKeys);
  EXPECT_EQ(verdictIn(say(refused, worker::greeting())), Verdict::localPeersOnly);
  expectEnd(refused, "without keys only this machine itself is served (--keys, --allow-any-peer)");

  const Admission anyPeer{.keys = {}, .anyPeer = true};
  Conversation welcome = withRemotePeer(anyPeer);
  EXPECT_EQ(verdictIn(say(welcome, worker::greeting())), Verdict::welcome);
  EXPECT_EQ(welcome.bytesWanted(), usbip::offerSize);
}

TEST(ConversationOfFarSide, ServesOtherMachinesThatProveToHaveTheKeys) {
  Conversation conversation = withRemotePeer(withKeys);
  const Bytes own = say(conversation, worker::greeting(true));
  EXPECT_EQ(verdictIn(own), Verdict::welcome);
  EXPECT_TRUE(usbip::decode(greetingIn(own)).hasKeys);
  EXPECT_EQ(usbip::decode(greetingIn(own)).challenge, challenge());
  const Bytes answer = say(conversation, usbip::workersProof(keys, worker::greeting(true), greetingIn(own)));
  Bytes expected{static_cast<std::uint8_t>(Verdict::welcome)};
  const usbip::Proof proof = usbip::farSidesProof(keys, worker::greeting(true), greetingIn(own));
  expected.insert(expected.end(), proof.begin(), proof.end());
  EXPECT_EQ(answer, expected);
  static_cast<void>(say(conversation, usbip::encode(worker::offer())));
  EXPECT_TRUE(conversation.offer());
}

TEST(ConversationOfFarSide, KeepsEveryBitOfAGreetingForTheProofs) {
  usbip::GreetingBytes unusual = worker::greeting(true);
  unusual[usbip::greetingStartSize] = 0xFF;  // has keys, too
  Conversation conversation = withLocalPeer(withKeys);
  const Bytes own = say(conversation, unusual);
  static_cast<void>(say(conversation, usbip::workersProof(keys, unusual, greetingIn(own))));
  EXPECT_FALSE(conversation.refusal());
}

TEST(ConversationOfFarSide, RefusesEveryOtherProofWithOneByte) {
  const usbip::GreetingBytes theirs = worker::greeting(true);
  const auto proofs = [&theirs](const usbip::GreetingBytes& own) {
    usbip::GreetingBytes otherOwn = own;
    otherOwn.back() ^= 1;
    usbip::Proof nearlyRight = usbip::workersProof(keys, theirs, own);
    nearlyRight.back() ^= 1;
    return std::vector<usbip::Proof>{usbip::Proof{},
                                     nearlyRight,
                                     usbip::workersProof({.in = keys.out, .out = keys.in}, theirs, own),
                                     usbip::workersProof({.in = keys.in, .out = "other"}, theirs, own),
                                     usbip::workersProof(keys, theirs, otherOwn),
                                     usbip::farSidesProof(keys, theirs, own),
                                     usbip::farSidesProof({.in = keys.out, .out = keys.in}, theirs, own)};
  };
  for (std::size_t i = 0; i < proofs({}).size(); ++i) {
    Conversation conversation = withLocalPeer(withKeys);
    const Bytes own = say(conversation, theirs);
    EXPECT_EQ(say(conversation, proofs(greetingIn(own))[i]),
              Bytes{static_cast<std::uint8_t>(Verdict::wrongProof)});
    expectEnd(conversation, "its keys are different");
  }
}

TEST(ConversationOfFarSide, RefusesWhatCannotBeADeviceWithoutAnAnswer) {
  Bytes otherSpeed = bytesOf(usbip::encode(worker::offer()));
  otherSpeed[usbip::busIdSize + 4] = 4;
  Bytes otherDescriptor = bytesOf(usbip::encode(worker::offer()));
  otherDescriptor[usbip::busIdSize + 6] = 9;
  const std::vector<std::pair<Bytes, std::string>> offers{
      {withBusId(""), "this is no bus id"},
      {withBusId("1-2\n"), "this is no bus id"},
      {withBusId(std::string(usbip::busIdSize, '1')), "this is no bus id"},
      {otherSpeed, "there is no speed 4"},
      {otherDescriptor, "this is no device descriptor"}};
  for (const auto& [bytes, refusal] : offers) {
    Conversation conversation = withLocalPeer(withoutKeys);
    static_cast<void>(say(conversation, worker::greeting()));
    EXPECT_TRUE(say(conversation, bytes).empty());
    expectEnd(conversation, refusal);
  }
}

}  // namespace
