#pragma once

#include <string>
#include <vector>

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

/**
 * What a kernel announced and showed for one USB device that was plugged in and taken out again. The files
 * behind it are described in devices/README.md.
 */
struct DeviceRecording {
  std::string name;         ///< the folder's name
  std::string description;  ///< one line
  /** The device's physical directory ("/sys/devices/..."); empty in `root-hubs`, which holds several. */
  std::string directory;
  std::string product;  ///< the product text; empty when the device has none
  std::string speed;    ///< Mbit/s as in sysfs: "1.5", "12", "480", "5000"
  std::vector<TreeEntry> tree;
  std::vector<RecordedEvent> plugEvents;
  std::vector<RecordedEvent> unplugEvents;

  /** The DEVPATH in the events of the device itself: `directory` without "/sys". */
  [[nodiscard]] std::string devpath() const;
  /** The physical directories of its nodes named `prefix` and a number ("hiddev", "sg"), in the tree's order.
   */
  [[nodiscard]] std::vector<std::string> nodes(const std::string& prefix) const;
  /** Whether this path below /sys is the device's directory or lies in it. */
  [[nodiscard]] bool owns(const std::string& path) const;
};

/** Reads the recording in a folder. Throws Error with the file and the line that cannot be read. */
[[nodiscard]] DeviceRecording readRecording(const std::string& folder);

}  // namespace recorder
