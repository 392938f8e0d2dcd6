#pragma once

#include <cstdint>

/*
 * The input of the fuzzer of the control socket: a byte for the link at the start, odd where it is known, then steps.
 * A step is a byte, modulo their number, and what it needs: the number of a client or of a foreign descriptor, modulo
 * how many there are, and a text.
 */

namespace fuzz {

enum class ControlStep : std::uint8_t {
  connect,       // a new client
  send,          // client, text
  finish,        // client: it says that nothing more comes
  leave,         // client
  serve,         // the daemon serves the client that has waited longest, if that does not block
  deliver,       // text: a new client that says it and is served
  openForeign,   // kind: something else of the daemon's takes the next number
  closeForeign,  // foreign descriptor
};

inline constexpr unsigned controlStepCount = 8;

}  // namespace fuzz
