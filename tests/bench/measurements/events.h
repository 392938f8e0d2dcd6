#pragma once

#include "bench/measurements/measurement.h"

namespace bench {

/** Microseconds of processor time for one event of a USB device that is no "add". */
[[nodiscard]] Begin eventOfOtherAction();
/** The same for an "add" of another subsystem's device. */
[[nodiscard]] Begin eventOfOtherSubsystem();

}  // namespace bench
