// What a worker may say to the far side over USB/IP, in pieces of any size, against a second, plain reading of all that it
// has said; see usbip_far_side_input.h for the input.

#include <sodium.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/transmitter/conversation.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/usbip_far_side_input.h"

namespace {

using fuzz::check;

const std::string keyIn = "k3y1";
const std::string keyOut = "k3y2";
constexpr char challengeByte = 0x5A;

template <class Bytes>
std::string textOf(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

// The second reading: by the numbers of bytes, of all bytes at once.
namespace plain {

constexpr std::size_t greetingStart = 10;
constexpr std::size_t greeting = 44;
constexpr std::size_t proof = 32;
constexpr std::size_t offer = 56;

std::string hash(const std::string& text) {
  std::string result(crypto_hash_sha256_BYTES, '\0');
  crypto_hash_sha256(reinterpret_cast<unsigned char*>(result.data()),
                     reinterpret_cast<const unsigned char*>(text.data()), text.size());
  return result;
}

// FIPS 198-1, for keys that are no longer than a block.
std::string hmac(const std::string& key, const std::string& text) {
  std::string inner(64, '\x36');
  std::string outer(64, '\x5C');
  for (std::size_t i = 0; i < key.size(); ++i) {
    inner[i] = static_cast<char>(inner[i] ^ key[i]);
    outer[i] = static_cast<char>(outer[i] ^ key[i]);
  }
  return hash(outer + hash(inner + text));
}

bool isOffer(const std::string& bytes) {
  const std::string busId = bytes.substr(0, std::min<std::size_t>(bytes.find('\0'), 32));
  const auto at = [&bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  return !busId.empty() && busId.size() < 32 &&
         busId.find_first_not_of("0123456789-.") == std::string::npos && at(36) >= 1 && at(36) <= 6 &&
         at(36) != 4 && at(38) == 18 && at(39) == 1;
}

// An offer without what is not looked at: what stands behind the end of the bus id, and behind the speed.
std::string purified(std::string bytes) {
  const std::size_t end = bytes.find('\0');
  bytes.replace(end, 32 - end, 32 - end, '\0');
  bytes[37] = '\0';
  return bytes;
}

// What is expected of the far side after a worker has said something.
struct Outcome {
  std::string answers;
  std::size_t wanted = 0;
  bool isRefused = false;
  std::optional<std::string> offer;
};

class FarSide {
 public:
  explicit FarSide(unsigned switches)
      : hasKeys_((switches & fuzz::farSideKeysSwitch) != 0),
        servesPeer_(hasKeys_ || (switches & (fuzz::anyPeerSwitch | fuzz::localPeerSwitch)) != 0) {}

  [[nodiscard]] std::string ownGreeting(char verdict) const {
    const std::string ownChallenge(32, hasKeys_ ? challengeByte : '\0');
    return std::string("USB-RXIP\0\1", 10) + (hasKeys_ ? '\1' : '\0') + verdict + ownChallenge;
  }

  [[nodiscard]] std::string workersProof(const std::string& said) const {
    return hmac(keyOut, "usb_rx_usbip" + said.substr(0, greeting) + ownGreeting(0));
  }

  [[nodiscard]] Outcome read(const std::string& said) const {
    if (said.size() < greetingStart) {
      return {.answers = {}, .wanted = greetingStart - said.size()};
    }
    if (!said.starts_with("USB-RXIP")) {
      return refusal("");
    }
    if (said[8] != 0 || said[9] != 1) {
      return refusal(ownGreeting(1));
    }
    return said.size() < greeting ? Outcome{.answers = {}, .wanted = greeting - said.size()}
                                  : readGreeting(said);
  }

 private:
  static Outcome refusal(const std::string& answers) {
    return {.answers = answers, .wanted = 0, .isRefused = true};
  }

  [[nodiscard]] Outcome readGreeting(const std::string& said) const {
    const bool workerHasKeys = said[10] != 0;
    if (workerHasKeys != hasKeys_) {
      return refusal(ownGreeting(hasKeys_ ? 2 : 3));
    }
    if (!servesPeer_) {
      return refusal(ownGreeting(4));
    }
    return hasKeys_ ? readProof(said) : readOffer(said.substr(greeting), ownGreeting(0));
  }

  [[nodiscard]] Outcome readProof(const std::string& said) const {
    if (said.size() < greeting + proof) {
      return {.answers = ownGreeting(0), .wanted = greeting + proof - said.size()};
    }
    if (said.substr(greeting, proof) != workersProof(said)) {
      return refusal(ownGreeting(0) + '\5');
    }
    const std::string ownProof = hmac(keyIn, "usb_tx_usbip" + said.substr(0, greeting) + ownGreeting(0));
    return readOffer(said.substr(greeting + proof), ownGreeting(0) + '\0' + ownProof);
  }

  [[nodiscard]] static Outcome readOffer(const std::string& said, const std::string& answers) {
    if (said.size() < offer) {
      return {.answers = answers, .wanted = offer - said.size()};
    }
    if (!isOffer(said.substr(0, offer))) {
      return refusal(answers);
    }
    return {.answers = answers, .wanted = 0, .isRefused = false, .offer = purified(said.substr(0, offer))};
  }

  bool hasKeys_;
  bool servesPeer_;
};

}  // namespace plain

usbip::Admission admissionOf(unsigned switches) {
  usbip::Admission admission{.keys = {}, .anyPeer = (switches & fuzz::anyPeerSwitch) != 0};
  if ((switches & fuzz::farSideKeysSwitch) != 0) {
    admission.keys = usbip::Keys{.in = keyIn, .out = keyOut};
  }
  return admission;
}

usbip::Challenge challenge() {
  usbip::Challenge bytes;
  bytes.fill(challengeByte);
  return bytes;
}

// One worker that calls.
class Run {
 public:
  explicit Run(unsigned switches)
      : admission_(admissionOf(switches)),
        conversation_(admission_, (switches & fuzz::localPeerSwitch) != 0, challenge()),
        plain_(switches) {}

  void doStep(fuzz::Input& input) {
    const auto step = static_cast<fuzz::UsbipWorkerStep>(input.byte() % fuzz::usbipWorkerStepCount);
    const std::size_t pieceSize = input.byte();
    std::string bytes = bytesOf(step, input);
    bytes += input.text();
    say(bytes, pieceSize == 0 ? bytes.size() : pieceSize);
  }

 private:
  std::string bytesOf(fuzz::UsbipWorkerStep step, fuzz::Input& input) const {
    switch (step) {
      case fuzz::UsbipWorkerStep::say:
        break;
      case fuzz::UsbipWorkerStep::greet:
        return greeting(input.byte());
      case fuzz::UsbipWorkerStep::prove:
        return proof(input.byte());
      case fuzz::UsbipWorkerStep::offer:
        return offer(input.byte());
    }
    return {};
  }

  static std::string greeting(std::uint8_t hasKeys) {
    usbip::GreetingBytes bytes = usbip::encode(usbip::Greeting{});
    bytes[usbip::greetingStartSize] = hasKeys;
    return textOf(bytes);
  }

  [[nodiscard]] std::string proof(std::uint8_t difference) const {
    std::string bytes = plain_.workersProof(said_);
    bytes.back() = static_cast<char>(bytes.back() ^ difference);
    return bytes;
  }

  static std::string offer(std::uint8_t speed) {
    usbip::Offer offer{.busId = "1-2.4", .devId = 0x10004, .speed = static_cast<usbip::Speed>(speed)};
    offer.descriptor = {18, 1};
    return textOf(usbip::encode(offer));
  }

  // What is not wanted stays in the connection.
  void say(std::string bytes, std::size_t pieceSize) {
    while (!bytes.empty() && conversation_.bytesWanted() > 0) {
      const std::size_t size = std::min({bytes.size(), pieceSize, conversation_.bytesWanted()});
      hear(bytes.substr(0, size));
      bytes.erase(0, size);
    }
  }

  void hear(const std::string& piece) {
    said_ += piece;
    answers_ +=
        textOf(conversation_.receive({reinterpret_cast<const std::uint8_t*>(piece.data()), piece.size()}));
    const plain::Outcome expected = plain_.read(said_);
    check(answers_ == expected.answers, "the far side answers what it does in a plain reading");
    check(conversation_.refusal().has_value() == expected.isRefused,
          "it refuses what it does in a plain reading");
    check(conversation_.offer().has_value() == expected.offer.has_value(), "it takes an offer if it is one");
    check(!expected.offer || textOf(usbip::encode(*conversation_.offer())) == *expected.offer,
          "it takes the device that is offered");
    check(conversation_.bytesWanted() == expected.wanted,
          "it wants as many bytes as are missing, and none that may be the kernel's");
    check(conversation_.awaited().starts_with("the ") == (expected.wanted > 0),
          "it has a name for what is missing");
    check(!conversation_.refusal() || isLine(*conversation_.refusal()),
          "a refusal is one line without control characters");
  }

  static bool isLine(const std::string& text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
  }

  usbip::Admission admission_;
  usbip::Conversation conversation_;
  plain::FarSide plain_;
  std::string said_;  // and heard
  std::string answers_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  Run run(input.byte());
  while (!input.isAtEnd()) {
    run.doStep(input);
  }
  return 0;
}
