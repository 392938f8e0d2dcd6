#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/** The text files of a device recording; their format is described in devices/README.md. */
namespace recorder {

/** One entry of a recorded sysfs tree. */
struct TreeEntry {
  enum class Kind { directory, link, file };

  Kind kind;
  std::string path;     ///< below /sys, without a leading slash
  std::string content;  ///< a link's text or a file's bytes; empty for a directory

  bool operator==(const TreeEntry&) const = default;
};

/** One recorded uevent. */
struct RecordedEvent {
  int milliseconds;      ///< since the first event of the plug or unplug
  std::string datagram;  ///< as the kernel sent it: ACTION@DEVPATH, NUL, KEY=VALUE, NUL ...
};

/** The lines "key: value" of about.txt; the first line, which has no key, stands under "description". */
[[nodiscard]] std::map<std::string, std::string> readAbout(const std::filesystem::path& file);
[[nodiscard]] std::vector<TreeEntry> readTree(const std::filesystem::path& file);
[[nodiscard]] std::vector<RecordedEvent> readEvents(const std::filesystem::path& file);

/** The bytes of a text in which \n, \t, \\ and \xNN stand for bytes. Throws Error for any other escape. */
[[nodiscard]] std::string unescaped(std::string_view text);

}  // namespace recorder
