#pragma once

#include <cstdint>

namespace bench {

/** What this process has asked of `new`. */
struct Allocations {
  std::uint64_t calls = 0;
  std::uint64_t bytes = 0;
};

/** Since the process was started. */
Allocations allocationsSoFar();

}  // namespace bench
