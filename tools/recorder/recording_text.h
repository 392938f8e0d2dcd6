#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/recorder/device_recording.h"

/** The text files of a device recording; their format is described in devices/README.md. */
namespace recorder {

/** The lines "key: value" of about.txt; the first line, which has no key, stands under "description". */
[[nodiscard]] std::map<std::string, std::string> readAbout(const std::filesystem::path& file);
[[nodiscard]] std::vector<TreeEntry> readTree(const std::filesystem::path& file);
[[nodiscard]] std::vector<RecordedEvent> readEvents(const std::filesystem::path& file);

/** The bytes of a text in which \n, \t, \\ and \xNN stand for bytes. Throws Error for any other escape. */
[[nodiscard]] std::string unescaped(std::string_view text);

}  // namespace recorder
