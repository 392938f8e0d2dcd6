#pragma once

#include <string>
#include <vector>

#include "tools/explain/device_tree.h"

namespace explain {

/**
 * The devices that an argument names, several for a recorded hub. Throws Error where there is none. `speed` is that of
 * bare descriptors, as in sysfs; empty where it is to be inferred.
 */
[[nodiscard]] std::vector<Device> devicesNamed(const std::string& argument, const std::string& speed = {});

/** The physical directory of the device of this machine that an argument names. Throws Error where there is none. */
[[nodiscard]] std::string pluggedDeviceNamed(const std::string& argument);

/** The devices that are plugged into this machine. Throws Error where they cannot be listed. */
[[nodiscard]] std::vector<Device> devicesPlugged();

}  // namespace explain
