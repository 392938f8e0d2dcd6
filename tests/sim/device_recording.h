#pragma once

#include <string>
#include <vector>

#include "tools/recorder/device_recording.h"

/** The recorded devices of the project, in the form that the recorder writes. */
namespace sim {

using recorder::DeviceRecording;
using recorder::RecordedEvent;
using recorder::TreeEntry;

/** Reads one recording. Throws recorder::Error with the file and the line that cannot be read. */
[[nodiscard]] DeviceRecording loadRecording(const std::string& name);
/** The names of all recordings, sorted. */
[[nodiscard]] std::vector<std::string> recordingNames();
/** The folder of the recordings: the environment variable SIM_DEVICES, else the project's own. */
[[nodiscard]] std::string recordingsFolder();

}  // namespace sim
