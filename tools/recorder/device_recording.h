#pragma once

#include <string>
#include <vector>

#include "tools/recorder/recording_text.h"

namespace recorder {

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
  std::string origin = {};  ///< what to know of where it comes from; empty when its events were heard

  /** The DEVPATH in the events of the device itself: `directory` without "/sys". */
  [[nodiscard]] std::string devpath() const;
  /** The physical directories of its nodes named `prefix` and a number ("hiddev", "sg"), in the tree's order.
   */
  [[nodiscard]] std::vector<std::string> nodes(const std::string& prefix) const;
  /** The entry of this path below /sys; null where there is none. */
  [[nodiscard]] const TreeEntry* entry(const std::string& path) const;
  /** Whether this path below /sys is the device's directory or lies in it. */
  [[nodiscard]] bool owns(const std::string& path) const;
};

}  // namespace recorder
