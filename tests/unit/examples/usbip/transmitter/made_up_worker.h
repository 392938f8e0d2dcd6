#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/exchange/proofs.h"

/** What a worker says, in these tests. */
namespace worker {

using Bytes = std::vector<std::uint8_t>;

template <class Array>
Bytes bytesOf(const Array& array) {
  return {array.begin(), array.end()};
}

/** `bytes` up to the one at `end`; the rest of them. */
template <class Array>
Bytes startOf(const Array& bytes, std::size_t end) {
  return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(end)};
}
template <class Array>
Bytes restOf(const Array& bytes, std::size_t begin) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.end()};
}

inline usbip::GreetingBytes greeting(bool hasKeys = false) {
  usbip::Greeting greeting{.hasKeys = hasKeys};
  if (hasKeys) {
    greeting.challenge.fill(0xA5);
  }
  return usbip::encode(greeting);
}

/** The greeting of a version that is not known yet. */
inline usbip::GreetingBytes greetingOfVersion(std::uint8_t version) {
  usbip::GreetingBytes bytes = greeting();
  bytes[usbip::greetingStartSize - 1] = version;
  return bytes;
}

/** A device 0627:0001, the second of bus 1. */
inline usbip::Offer offer(usbip::Speed speed = usbip::Speed::high) {
  usbip::Offer offer{.busId = "1-2", .devId = 0x10002, .speed = speed};
  offer.descriptor = {18, 1, 0, 2, 0, 0, 0, 64, 0x27, 0x06, 0x01, 0x00, 0, 0, 1, 2, 3, 1};
  return offer;
}

}  // namespace worker
