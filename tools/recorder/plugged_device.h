#pragma once

#include <string>

#include "tools/recorder/device_recording.h"

namespace recorder {

/**
 * A USB device that is plugged in already, recorded without having heard it. `device` is its physical directory
 * ("/sys/devices/..."). The tree is what `treeOf` returns; the events are made up from it, which `origin` says. The
 * description is the product text. Needs no privileges where /sys is readable. Throws Error when that is no USB
 * device, when it goes meanwhile, and when something of it may not be read.
 */
[[nodiscard]] DeviceRecording recordPluggedDevice(const std::string& device);

/** What a device is called in about.txt that nobody has described. */
[[nodiscard]] std::string descriptionByProduct(const DeviceRecording& recording);

}  // namespace recorder
