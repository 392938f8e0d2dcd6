#pragma once

#include <string>

#include "kernel/guest/emulated_devices.h"

namespace demo {

/** A disk with random bytes, whose digest is known: scripts/demo makes them. */
[[nodiscard]] guest::EmulatedDevice filledDisk();
/** SHA-256 of its bytes, as sha256sum prints it. */
[[nodiscard]] std::string digestOfFilledDisk();

}  // namespace demo
