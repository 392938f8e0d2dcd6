#pragma once

#include <sys/types.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/exchange/proofs.h"
#include "sim/deadline.h"
#include "sim/descriptor.h"

namespace examples {

using Bytes = std::vector<std::uint8_t>;

/** The device that scripted workers bring: 1-2, 0627:0001. */
[[nodiscard]] usbip::Offer offeredDevice(usbip::Speed speed = usbip::Speed::high);

/** A worker's end of a connection to the far side: it says what a test wants, and hears what is answered. */
class ScriptedWorker {
 public:
  /** Connects to an address of this network: "127.0.0.1", "::1". Throws sim::Error. */
  explicit ScriptedWorker(const std::string& address = "127.0.0.1");

  void say(std::span<const std::uint8_t> bytes) const;
  void say(const std::string& text) const;
  /** Ends the connection. */
  void leave() { socket_.close(); }
  /** Ends it with a reset. */
  void leaveRudely();

  /** Waits for so many bytes. Throws sim::Error when the connection ends before. */
  [[nodiscard]] Bytes hear(std::size_t size, const sim::Deadline& deadline = {}) const;
  [[nodiscard]] usbip::Verdict hearVerdict() const;
  /** Hears a greeting, and remembers it for the proofs. */
  usbip::Greeting hearGreeting();
  /** Waits for the end of the connection. Throws sim::Error when a byte comes before, and when it is reset. */
  void hearTheEnd(const sim::Deadline& deadline = {}) const;
  /** The same for a connection that may be reset: something that was said has not been read. */
  void hearTheEndOrAReset(const sim::Deadline& deadline = {}) const;
  /** Waits until the far side has said anything, or ended the connection; false when the deadline passes before. */
  [[nodiscard]] bool waitToHear(const sim::Deadline& deadline) const;

  /** Says a greeting, and remembers it for the proofs. */
  void greet(bool hasKeys = false);
  /** Says a proof, hears the verdict and, when it is welcome, expects the far side's proof. Returns the verdict. */
  usbip::Verdict prove(const usbip::Keys& keys);
  /** Offers the device and returns the verdict. */
  [[nodiscard]] usbip::Verdict offer(usbip::Speed speed = usbip::Speed::high) const;
  /** All up to the device's attachment. Throws sim::Error when it is not welcome. */
  void bringDevice(usbip::Speed speed = usbip::Speed::high);

 private:
  // 0 at the end, -1 with errno where the connection has broken.
  [[nodiscard]] ssize_t hearNothingMore(const sim::Deadline& deadline) const;

  sim::Descriptor socket_;
  usbip::GreetingBytes ownGreeting_{};
  usbip::GreetingBytes farSidesGreeting_{};
};

}  // namespace examples
