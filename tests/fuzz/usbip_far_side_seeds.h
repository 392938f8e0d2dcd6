#pragma once

#include <string>
#include <vector>

namespace fuzz {

/** Inputs for the fuzzer of the far side over USB/IP. */
[[nodiscard]] std::vector<std::string> usbipFarSideSeeds();

}  // namespace fuzz
