#pragma once

#include <string_view>

namespace fuzz {

/** Ends the fuzzer with a finding, and prints `expectation`, unless it `holds`. */
void check(bool holds, std::string_view expectation);

/** The lowest free descriptor. It changes when a descriptor stays open, and when a foreign one is closed. */
[[nodiscard]] int lowestFreeDescriptor();

}  // namespace fuzz
