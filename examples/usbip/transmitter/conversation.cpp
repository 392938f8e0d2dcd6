#include "examples/usbip/transmitter/conversation.h"

#include <algorithm>
#include <array>
#include <utility>

#include "ulx/exceptions.h"

namespace usbip {
namespace {

// Bytes as the array that is made of them. There are at least as many.
template <std::size_t size>
std::array<std::uint8_t, size> firstOf(const Conversation::Bytes& bytes) {
  std::array<std::uint8_t, size> first;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled here
  std::copy_n(bytes.begin(), size, first.begin());
  return first;
}

std::uint8_t byteOf(Verdict verdict) {
  return static_cast<std::uint8_t>(verdict);
}

std::string whyNot(Verdict verdict) {
  switch (verdict) {
    case Verdict::keysNeeded:
      return "it has no keys";
    case Verdict::noKeysHere:
      return "it has keys, and there are none here (--keys)";
    default:
      return "without keys only this machine itself is served (--keys, --allow-any-peer)";
  }
}

}  // namespace

Conversation::Conversation(const Admission& admission, bool peerIsLocal, const Challenge& challenge)
    : admission_(admission), peerIsLocal_(peerIsLocal), challenge_(challenge) {}

std::size_t Conversation::sizeOf(Message message) {
  switch (message) {
    case Message::greetingStart:
      return greetingStartSize;
    case Message::greeting:
      return greetingSize;
    case Message::proof:
      return std::tuple_size_v<Proof>;
    case Message::offer:
      return offerSize;
    case Message::none:
      break;
  }
  return 0;
}

std::size_t Conversation::bytesWanted() const {
  return sizeOf(awaited_) - received_.size();
}

std::string_view Conversation::awaited() const {
  switch (awaited_) {
    case Message::greetingStart:
    case Message::greeting:
      return "the greeting";
    case Message::proof:
      return "the proof";
    case Message::offer:
      return "the offer";
    case Message::none:
      break;
  }
  return "nothing";
}

Conversation::Bytes Conversation::receive(std::span<const std::uint8_t> bytes) {
  received_.insert(received_.end(), bytes.begin(), bytes.end());
  if (bytesWanted() > 0) {
    return {};
  }
  try {
    return readMessage();
  } catch (const ulx::StrException& e) {
    refuse(e.message);
    return {};
  }
}

Conversation::Bytes Conversation::readMessage() {
  switch (awaited_) {
    case Message::greetingStart:
      return readGreetingStart();
    case Message::greeting:
      return readGreeting();
    case Message::proof:
      return readProof();
    case Message::offer:
      return readOffer();
    case Message::none:
      break;
  }
  return {};
}

// A greeting of another version may be shorter or longer: it is answered as soon as its version is there.
Conversation::Bytes Conversation::readGreetingStart() {
  const std::uint16_t version = versionOf(firstOf<greetingStartSize>(received_));
  try {
    expectKnownVersion(version);
  } catch (const ulx::StrException& e) {
    refuse(e.message);
    return greet(Verdict::unknownVersion);
  }
  awaited_ = Message::greeting;  // of which the start has been received
  return {};
}

Conversation::Bytes Conversation::readGreeting() {
  workersGreeting_ = firstOf<greetingSize>(received_);
  const Verdict verdict = verdictOn(decode(workersGreeting_));
  if (verdict == Verdict::welcome) {
    await(admission_.keys ? Message::proof : Message::offer);
  } else {
    refuse(whyNot(verdict));
  }
  return greet(verdict);
}

Verdict Conversation::verdictOn(const Greeting& greeting) const {
  if (admission_.keys && !greeting.hasKeys) {
    return Verdict::keysNeeded;
  }
  if (!admission_.keys && greeting.hasKeys) {
    return Verdict::noKeysHere;
  }
  if (!admission_.keys && !admission_.anyPeer && !peerIsLocal_) {
    return Verdict::localPeersOnly;
  }
  return Verdict::welcome;
}

Conversation::Bytes Conversation::greet(Verdict verdict) {
  const bool hasKeys = admission_.keys.has_value();
  ownGreeting_ =
      encode({.hasKeys = hasKeys, .verdict = verdict, .challenge = hasKeys ? challenge_ : Challenge{}});
  return {ownGreeting_.begin(), ownGreeting_.end()};
}

Conversation::Bytes Conversation::readProof() {
  if (!areSame(firstOf<std::tuple_size_v<Proof>>(received_),
               workersProof(*admission_.keys, workersGreeting_, ownGreeting_))) {
    refuse("its keys are different");
    return {byteOf(Verdict::wrongProof)};
  }
  await(Message::offer);
  Bytes answer{byteOf(Verdict::welcome)};
  const Proof proof = farSidesProof(*admission_.keys, workersGreeting_, ownGreeting_);
  answer.insert(answer.end(), proof.begin(), proof.end());
  return answer;
}

Conversation::Bytes Conversation::readOffer() {
  offer_ = decode(firstOf<offerSize>(received_));
  await(Message::none);
  return {};
}

void Conversation::await(Message message) {
  received_.clear();
  awaited_ = message;
}

void Conversation::refuse(std::string why) {
  refusal_ = std::move(why);
  await(Message::none);
}

}  // namespace usbip
