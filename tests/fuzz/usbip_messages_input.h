#pragma once

#include <cstdint>

/*
 * The input of the fuzzer of the messages over USB/IP: a byte, modulo the number of kinds, and what it needs. Of bytes that
 * are missing at the end of a message, each is 0.
 */

namespace fuzz {

enum class UsbipMessage : std::uint8_t {
  greeting,      // its bytes
  offer,         // its bytes
  offerOfValue,  // a bus id (text), the device number (4 bytes), the speed, the device descriptor
};

inline constexpr unsigned usbipMessageCount = 3;

}  // namespace fuzz
