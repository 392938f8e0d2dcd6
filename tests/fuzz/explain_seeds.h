#pragma once

#include <string>
#include <vector>

namespace fuzz {

/** Inputs for the fuzzer of usb_rx_explain, from the recorded devices. */
[[nodiscard]] std::vector<std::string> explainSeeds();

}  // namespace fuzz
