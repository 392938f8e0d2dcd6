#pragma once

#include "bench/measurements/measurement.h"

namespace bench {

/** KiB that the contender alone has written to and holds, beside so many workers. */
[[nodiscard]] Begin ownMemory(int workers);

}  // namespace bench
