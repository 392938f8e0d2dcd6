#pragma once

#include <functional>
#include <string>

#include "sim/deadline.h"

namespace support {

/**
 * Waits until `condition` holds, asking again every other millisecond: for what the system shows of a process
 * without announcing a change (its descriptors, its state). Throws sim::TimedOut naming `awaited`.
 */
void eventually(const std::string& awaited, const std::function<bool()>& condition,
                const sim::Deadline& deadline = {});

}  // namespace support
