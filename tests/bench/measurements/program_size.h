#pragma once

#include "bench/measurements/measurement.h"

namespace bench {

/** Bytes of the program as it is packed: without its symbols. */
[[nodiscard]] Begin programSize();

}  // namespace bench
