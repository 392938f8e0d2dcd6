#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/exchange/proofs.h"

namespace usbip {

/** Who is served. */
struct Admission {
  std::optional<Keys> keys;  ///< with keys: who proves to have them
  bool anyPeer = false;      ///< without: whether other machines, too
};

/**
 * The far side of what is said before a device is attached, as a value: it takes what a worker says and returns what
 * is to be answered, up to the worker's offer or a refusal.
 */
class Conversation {
 public:
  using Bytes = std::vector<std::uint8_t>;

  /** `admission` must outlive it. `challenge` goes to the worker where there are keys. */
  Conversation(const Admission& admission, bool peerIsLocal, const Challenge& challenge);

  /** How many bytes may be read for it, at most: what follows belongs to the kernel. 0 when nothing more is awaited. */
  [[nodiscard]] std::size_t bytesWanted() const;
  /** "the greeting", "the proof", "the offer": of which it has not heard all. */
  [[nodiscard]] std::string_view awaited() const;

  /** Takes what the worker said, at most bytesWanted() bytes, and returns the answer, if any. */
  [[nodiscard]] Bytes receive(std::span<const std::uint8_t> bytes);

  /** Why it came to nothing, for a log. The answer has been said: nothing more is awaited. */
  [[nodiscard]] const std::optional<std::string>& refusal() const { return refusal_; }
  /** The device that is offered and waits for a verdict. */
  [[nodiscard]] const std::optional<Offer>& offer() const { return offer_; }

 private:
  enum class Message { greetingStart, greeting, proof, offer, none };

  [[nodiscard]] static std::size_t sizeOf(Message message);
  [[nodiscard]] Bytes readMessage();
  [[nodiscard]] Bytes readGreetingStart();
  [[nodiscard]] Bytes readGreeting();
  [[nodiscard]] Bytes readProof();
  [[nodiscard]] Bytes readOffer();
  [[nodiscard]] Verdict verdictOn(const Greeting& greeting) const;
  [[nodiscard]] Bytes greet(Verdict verdict);
  void await(Message message);
  void refuse(std::string why);

  const Admission& admission_;
  bool peerIsLocal_;
  Challenge challenge_;
  Message awaited_ = Message::greetingStart;
  Bytes received_;  // of the message that is awaited
  GreetingBytes workersGreeting_{};
  GreetingBytes ownGreeting_{};
  std::optional<std::string> refusal_;
  std::optional<Offer> offer_;
};

}  // namespace usbip
