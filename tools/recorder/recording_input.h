#pragma once

#include <string>

#include "tools/recorder/device_recording.h"

namespace recorder {

/**
 * Reads the recording in a folder. What a folder written by hand may leave out (see devices/README.md) is filled in.
 * Throws Error with the file and the line that cannot be read.
 */
[[nodiscard]] DeviceRecording readRecording(const std::string& folder);

}  // namespace recorder
