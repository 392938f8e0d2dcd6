#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/device_recording.h"

namespace support {

/** The directories of the USB devices in a recording, a hub before those behind it: its own, or the machine's. */
std::vector<std::string> devicesIn(const sim::DeviceRecording& recording);

/** The name under which the daemon shows a device of the recording. */
std::string shownNameOf(const sim::DeviceRecording& recording, const std::string& device);

/** The folder of the recording of this name. */
std::string folderOf(const std::string& name);

/** What the test of a recording is called. */
std::string testNameOf(const testing::TestParamInfo<std::string>& recording);

/** The content of the "descriptors" of a device, and the recording with others in their place. */
std::string descriptorsOf(const sim::DeviceRecording& recording, const std::string& device);
sim::DeviceRecording withDescriptors(sim::DeviceRecording recording, const std::string& device,
                                     const std::string& descriptors);

/** Writes the recording as a folder below `parent`, and returns the folder's path. */
std::string writeFolder(const sim::DeviceRecording& recording, const std::string& parent);

}  // namespace support
