#include "examples/usbip/receiver/conversation.h"

#include <array>
#include <cstdint>
#include <span>

#include "ulx/exceptions.h"

namespace usbip {
namespace {

[[noreturn]] void refusedFor(Verdict verdict) {
  throw ulx::StrException("refused: " + reasonOf(verdict));
}

void expectWelcome(Verdict verdict) {
  if (verdict != Verdict::welcome) {
    refusedFor(verdict);
  }
}

Verdict receiveVerdict(const Connection& farSide) {
  std::array<std::uint8_t, 1> byte{};
  farSide.receive(byte);
  return static_cast<Verdict>(byte.front());
}

// The version comes first: the rest of another version's greeting may be shorter, and would be waited for in vain.
GreetingBytes receiveGreeting(const Connection& farSide) {
  GreetingBytes bytes{};
  const std::span whole(bytes);
  farSide.receive(whole.first<greetingStartSize>());
  expectKnownVersion(versionOf(whole.first<greetingStartSize>()));
  farSide.receive(whole.subspan<greetingStartSize>());
  return bytes;
}

// A far side that has no keys cannot be the one that was meant.
void expectSameUseOfKeys(bool here, bool there) {
  if (here && !there) {
    refusedFor(Verdict::noKeysHere);
  }
  if (!here && there) {
    refusedFor(Verdict::keysNeeded);
  }
}

void exchangeProofs(const Connection& farSide, const Keys& keys, const GreetingBytes& mine,
                    const GreetingBytes& theirs) {
  farSide.send(workersProof(keys, mine, theirs));
  expectWelcome(receiveVerdict(farSide));
  Proof proof{};
  farSide.receive(proof);
  if (!areSame(proof, farSidesProof(keys, mine, theirs))) {
    throw ulx::StrException("refused: the far side has not proved that it knows the keys");
  }
}

}  // namespace

void introduceTo(const Connection& farSide, const std::optional<Keys>& keys) {
  const GreetingBytes mine =
      encode(Greeting{.hasKeys = keys.has_value(), .challenge = keys ? freshChallenge() : Challenge{}});
  farSide.send(mine);
  const GreetingBytes theirs = receiveGreeting(farSide);
  const Greeting greeting = decode(theirs);
  expectWelcome(greeting.verdict);
  expectSameUseOfKeys(keys.has_value(), greeting.hasKeys);
  if (keys) {
    exchangeProofs(farSide, *keys, mine, theirs);
  }
}

void offerTo(const Connection& farSide, const Offer& device) {
  farSide.send(encode(device));
  expectWelcome(receiveVerdict(farSide));
}

}  // namespace usbip
