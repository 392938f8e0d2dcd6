#pragma once

#include <string>
#include <vector>

#include "sim/device_recording.h"

namespace support {

/** The physical directories of the USB devices in a recording: its own, those behind it, or those of the machine. */
std::vector<std::string> devicesIn(const sim::DeviceRecording& recording);

/** The name under which the daemon shows a device of the recording. */
std::string shownNameOf(const sim::DeviceRecording& recording, const std::string& device);

/** Writes the recording as a folder below `parent`, and returns the folder's path. */
std::string writeFolder(const sim::DeviceRecording& recording, const std::string& parent);

}  // namespace support
