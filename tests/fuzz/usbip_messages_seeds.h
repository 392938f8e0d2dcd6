#pragma once

#include <string>
#include <vector>

namespace fuzz {

/** Inputs for the fuzzer of the messages over USB/IP. */
[[nodiscard]] std::vector<std::string> usbipMessagesSeeds();

}  // namespace fuzz
