#pragma once

#include <string>
#include <vector>

namespace fuzz {

/** Inputs for the fuzzer of the worker over USB/IP. */
[[nodiscard]] std::vector<std::string> usbipWorkerSeeds();

}  // namespace fuzz
