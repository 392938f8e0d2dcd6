#pragma once

#include <string>
#include <string_view>

#include "tools/recorder/device_recording.h"

/** Writes the files that recording_text.h reads. */
namespace recorder {

/** The text that stands for these bytes in the files of a recording. */
[[nodiscard]] std::string escaped(std::string_view bytes);

/** The same for a binary attribute: two hexadecimal digits a byte. */
[[nodiscard]] std::string hexadecimal(std::string_view bytes);

/** Throws Error when a folder of this path is there already, or cannot be made where it is to be. */
void requireNewFolder(const std::string& folder);

/**
 * Makes the folder and writes the recording into it; `kernel` is the release of the kernel that it comes
 * from. The recording's name is not used: it is the folder's. Throws Error when the folder is there already,
 * or when something cannot be written; then nothing is left of it.
 */
void writeRecording(const DeviceRecording& recording, const std::string& kernel, const std::string& folder);

/** The release of the kernel that runs here: "6.1.0-18-amd64". */
[[nodiscard]] std::string kernelRelease();

}  // namespace recorder
