#pragma once

#include "bench/measurements/measurement.h"

namespace bench {

/** Thousands of instructions, in user mode, from the program's first one until it waits for events. */
[[nodiscard]] Begin instructionsAtStart();
/** System calls in so many seconds of rest. */
[[nodiscard]] Begin systemCallsAtRest(double seconds);

}  // namespace bench
