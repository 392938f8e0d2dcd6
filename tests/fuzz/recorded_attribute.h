#pragma once

#include <string>

#include "sim/device_recording.h"

namespace fuzz {

/** The content of a file, or the text of a link, that was recorded in `directory`; null where there is none. */
[[nodiscard]] const std::string* recordedIn(const sim::DeviceRecording& recording,
                                            const std::string& directory, const std::string& name);

}  // namespace fuzz
