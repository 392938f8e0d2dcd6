#pragma once

#include <cstdint>

/*
 * The input of the fuzzer of the far side over USB/IP: a byte of switches, then steps. A step is a byte, modulo their
 * number, the size of the pieces in which the worker's bytes arrive (a byte; 0 is all at once), and what it needs. Behind
 * its own bytes the worker says those of the step's text. It says all that even when nobody hears it any more.
 */

namespace fuzz {

/** Switches of the far side. */
inline constexpr unsigned farSideKeysSwitch = 1;
inline constexpr unsigned anyPeerSwitch = 2;
inline constexpr unsigned localPeerSwitch = 4;

enum class UsbipWorkerStep : std::uint8_t {
  say,    // text
  greet,  // the byte that says whether it has keys, text
  prove,  // a byte that the last one of the right proof is combined with (0 leaves it right), text
  offer,  // speed, text
};

inline constexpr unsigned usbipWorkerStepCount = 4;

}  // namespace fuzz
