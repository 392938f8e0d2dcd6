#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/exchange/proofs.h"
#include "sim/deadline.h"
#include "sim/descriptor.h"

namespace examples {

/** A far side at 127.0.0.1 which says what a test wants to one worker at a time. */
class ScriptedTransmitter {
 public:
  /** Throws sim::Error. */
  ScriptedTransmitter();

  [[nodiscard]] const std::string& port() const { return port_; }

  /** Listens; before, connections are refused. */
  void listen() const;
  /** Waits for the next worker. An earlier one's connection is closed. */
  void accept(const sim::Deadline& deadline = {});
  /** Closes the connection. */
  void leave() { worker_.close(); }

  void say(std::span<const std::uint8_t> bytes) const;
  void say(usbip::Verdict verdict) const;
  /** Waits for so many bytes. Throws sim::Error when the connection ends before. */
  [[nodiscard]] std::vector<std::uint8_t> hear(std::size_t size) const;

  /** Hears the worker's greeting and answers it. Returns what the worker has said. */
  usbip::Greeting greet(const usbip::Greeting& answer = {});
  /** Hears the worker's proof, and answers with the verdict and, when that is welcome, with a proof. */
  void prove(const usbip::Keys& keys);
  [[nodiscard]] usbip::Offer hearOffer() const;
  /** All up to the welcome of the device, for a worker without keys; returns the device. */
  usbip::Offer welcomeDevice();

 private:
  sim::Descriptor listener_;
  sim::Descriptor worker_;
  std::string port_;
  usbip::GreetingBytes workers_{};
  usbip::GreetingBytes own_{};
};

}  // namespace examples
