#pragma once

#include <string>
#include <vector>

#include "tools/recorder/device_recording.h"

namespace recorder {

/**
 * What /sys shows of a USB device ("/sys/devices/..."), as devices/README.md describes it: the hubs above it
 * without their other children, the device with everything below it, and the links to all of these. Of the
 * attributes only those that identify a device or one of its nodes, and no serial numbers. Throws Error when
 * the device is not there, or when something of it may not be read.
 */
[[nodiscard]] std::vector<TreeEntry> treeOf(const std::string& device);

}  // namespace recorder
