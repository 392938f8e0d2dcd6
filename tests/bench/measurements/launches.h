#pragma once

#include "bench/measurements/measurement.h"

namespace bench {

/** Microseconds from the announcement of one device to its worker's first instruction. */
[[nodiscard]] Begin launch();
/** Microseconds from the first of 70 events, which announce 10 devices, to the last worker's first instruction. */
[[nodiscard]] Begin storm();
/** Milliseconds from the start of the contender to the last worker's first instruction. */
[[nodiscard]] Begin coldplug(int devices);

}  // namespace bench
