// What a far side over USB/IP may say to the worker, against a second, plain reading of it.
//
// Input: see fuzz/usbip_worker_input.h.

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/exchange/proofs.h"
#include "examples/usbip/receiver/connection.h"
#include "examples/usbip/receiver/conversation.h"
#include "examples/usbip/receiver/termination.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/usbip_worker_input.h"
#include "ulx/exceptions.h"

namespace {

using fuzz::check;

const usbip::Keys keys{.in = "the far side's key", .out = "the worker's key"};

// How far a conversation comes, and how it ends.
struct Outcome {
  std::string failure;  // empty where the device is welcome
  std::size_t read = 0;
  std::string said;

  bool operator==(const Outcome&) const = default;
};

struct Case {
  bool hasKeys = false;
  std::string heard;
};

template <std::size_t size>
std::string textOf(const std::array<std::uint8_t, size>& bytes) {
  return {bytes.begin(), bytes.end()};
}

usbip::Offer offeredDevice() {
  return {.busId = "1-2", .devId = 0x10007, .speed = usbip::Speed::high, .descriptor = {18, 1}};
}

// Without its challenge, which is no random one here, it would not be known.
usbip::GreetingBytes workersGreeting(bool hasKeys) {
  return encode(usbip::Greeting{.hasKeys = hasKeys});
}

usbip::GreetingBytes greetingIn(const std::string& heard) {
  usbip::GreetingBytes greeting{};
  std::copy_n(heard.begin(), std::min(heard.size(), greeting.size()), greeting.begin());
  return greeting;
}

Case readCase(fuzz::Input input) {
  constexpr std::size_t proofAt = usbip::greetingSize + 1;
  const unsigned switches = input.byte();
  Case c{.hasKeys = (switches & fuzz::workerKeysSwitch) != 0, .heard = input.rest()};
  if ((switches & fuzz::rightProofSwitch) != 0 &&
      c.heard.size() >= proofAt + std::tuple_size_v<usbip::Proof>) {
    const std::string proof = textOf(farSidesProof(keys, workersGreeting(c.hasKeys), greetingIn(c.heard)));
    c.heard.replace(proofAt, proof.size(), proof);
  }
  return c;
}

// The second reading: a byte after the other.
namespace plain {

class Conversation {
 public:
  explicit Conversation(const Case& talk) : case_(talk) {}

  Outcome outcome() {
    outcome_.said = textOf(workersGreeting(case_.hasKeys));
    outcome_.failure = failure();
    return outcome_;
  }

 private:
  // Whether so many more bytes have been said. What there is of them is read in any case.
  bool hear(std::size_t count) {
    const std::size_t left = case_.heard.size() - outcome_.read;
    outcome_.read += std::min(left, count);
    return left >= count;
  }
  [[nodiscard]] unsigned byteAt(std::size_t place) const {
    return static_cast<unsigned char>(case_.heard[place]);
  }
  static std::string refusal(unsigned verdict) {
    return "refused: " + usbip::reasonOf(static_cast<usbip::Verdict>(verdict));
  }

  std::string failure() {
    std::string failed = failedGreeting();
    if (failed.empty() && case_.hasKeys) {
      failed = failedProof();
    }
    return failed.empty() ? failedOffer() : failed;
  }

  std::string failedGreeting() {
    if (!hear(10)) {
      return closed;
    }
    if (case_.heard.compare(0, 8, "USB-RXIP") != 0) {
      return "this is no greeting";
    }
    const unsigned version = byteAt(8) * 256 + byteAt(9);
    if (version != 1) {
      return "version " + std::to_string(version) + " of the exchange is spoken there, version 1 here";
    }
    if (!hear(34)) {
      return closed;
    }
    if (byteAt(11) != 0) {
      return refusal(byteAt(11));
    }
    const bool hasKeys = byteAt(10) != 0;
    if (hasKeys == case_.hasKeys) {
      return {};
    }
    return hasKeys ? "refused: keys are needed there" : "refused: there are no keys there";
  }

  std::string failedProof() {
    const usbip::GreetingBytes worker = workersGreeting(true);
    const usbip::GreetingBytes farSide = greetingIn(case_.heard);
    outcome_.said += textOf(workersProof(keys, worker, farSide));
    if (!hear(1)) {
      return closed;
    }
    if (byteAt(44) != 0) {
      return refusal(byteAt(44));
    }
    if (!hear(32)) {
      return closed;
    }
    return case_.heard.substr(45, 32) == textOf(farSidesProof(keys, worker, farSide))
               ? ""
               : "refused: the far side has not proved that it knows the keys";
  }

  std::string failedOffer() {
    outcome_.said += textOf(encode(offeredDevice()));
    const std::size_t answerAt = outcome_.read;
    if (!hear(1)) {
      return closed;
    }
    return byteAt(answerAt) == 0 ? "" : refusal(byteAt(answerAt));
  }

  static constexpr const char* closed = "the far side has closed the connection";

  const Case& case_;
  Outcome outcome_;
};

}  // namespace plain

// A far side that has said everything, and listens until the worker has ended.
class FarSide {
 public:
  explicit FarSide(const std::string& says) {
    check(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data()) == 0, "there are sockets");
    check(::send(ends_[1], says.data(), says.size(), 0) == static_cast<ssize_t>(says.size()),
          "a socket takes what the far side says");
    ::shutdown(ends_[1], SHUT_WR);
  }
  FarSide(const FarSide&) = delete;
  FarSide& operator=(const FarSide&) = delete;
  ~FarSide() { ::close(ends_[1]); }

  // The worker's end, which its connection owns.
  [[nodiscard]] int workersEnd() const { return ends_[0]; }

  [[nodiscard]] std::size_t unread() const {
    int count = 0;
    check(::ioctl(ends_[0], FIONREAD, &count) == 0, "a socket counts its bytes");
    return static_cast<std::size_t>(count);
  }

  [[nodiscard]] std::string heard() const {
    std::array<char, 256> bytes{};
    const ssize_t count = ::recv(ends_[1], bytes.data(), bytes.size(), MSG_DONTWAIT);
    return {bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
  }

 private:
  std::array<int, 2> ends_{};
};

Outcome outcomeOf(const Case& c) {
  static const usbip::Termination termination;
  const FarSide farSide(c.heard);
  const usbip::Connection connection(farSide.workersEnd(), "the far side", termination);
  Outcome outcome;
  try {
    usbip::introduceTo(connection, c.hasKeys ? std::optional(keys) : std::nullopt);
    usbip::offerTo(connection, offeredDevice());
  } catch (const ulx::StrException& failure) {
    outcome.failure = failure.message;
  }
  outcome.read = c.heard.size() - farSide.unread();
  outcome.said = farSide.heard();
  return outcome;
}

}  // namespace

// Stands for usbip::freshChallenge, so that an input has the same meaning each time.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" usbip::Challenge __wrap__ZN5usbip14freshChallengeEv() {
  return {};
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Case c = readCase({data, size});
  static_cast<void>(outcomeOf({}));  // what stays open for good is open from here on
  const int descriptorBefore = fuzz::lowestFreeDescriptor();
  const Outcome outcome = outcomeOf(c);
  const Outcome expected = plain::Conversation(c).outcome();
  check(outcome.failure == expected.failure, "the conversation ends as in a plain reading");
  check(outcome.read == expected.read,
        "as many bytes are read as in a plain reading: the next are the kernel's");
  check(outcome.said == expected.said, "the worker says what it says in a plain reading");
  check(fuzz::lowestFreeDescriptor() == descriptorBefore, "every descriptor is closed again");
  return 0;
}
