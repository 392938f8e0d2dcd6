#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "examples/usbip/exchange/messages.h"

namespace usbip {

/** Two texts that both ends know. */
struct Keys {
  std::string in;   ///< proves the far side to the worker
  std::string out;  ///< proves the worker to the far side
};

/** HMAC-SHA-256 (FIPS 198-1) of the prover's name and both greetings. */
using Proof = std::array<std::uint8_t, 32>;

/** Random bytes that nobody can foresee. Throws a ulx::StrException on a system that has none. */
[[nodiscard]] Challenge freshChallenge();

/** That the worker of these greetings knows `keys.out`. */
[[nodiscard]] Proof workersProof(const Keys& keys, const GreetingBytes& worker, const GreetingBytes& farSide);
/** That the far side of these greetings knows `keys.in`. */
[[nodiscard]] Proof farSidesProof(const Keys& keys, const GreetingBytes& worker,
                                  const GreetingBytes& farSide);

/** Whether both are the same, in a time that does not show where they differ. */
[[nodiscard]] bool areSame(const Proof& one, const Proof& other);

}  // namespace usbip
