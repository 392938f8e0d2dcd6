#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hotplug/classification.h"
#include "hotplug/device_attributes.h"

namespace explain {

/** Where devices and their nodes are found: this machine's sysfs, a recording of another's, or a single file. */
class DeviceTree {
 public:
  DeviceTree() = default;
  DeviceTree(const DeviceTree&) = delete;
  DeviceTree& operator=(const DeviceTree&) = delete;
  virtual ~DeviceTree() = default;

  /**
   * What is shown of the device or node whose physical directory this is. Its calls throw Error for what may not be
   * read: that keeps an explanation from being given, unlike what the daemon fails at, too.
   */
  [[nodiscard]] virtual std::unique_ptr<DeviceAttributes> attributes(const std::string& path) const = 0;

  /**
   * The physical directories of a device's HID and SCSI generic nodes ("hiddev0", "sg0"), in order of their paths.
   * Nodes of other USB devices behind it are not its own.
   */
  [[nodiscard]] virtual std::vector<std::string> nodes(const std::string& device) const = 0;

  /** What the daemon takes a device or a node for; waits as the daemon does where something may still come. */
  [[nodiscard]] virtual DeviceKind kindOf(std::uint32_t classes, const DeviceAttributes& device) const = 0;

  /** How a worker is given the device: its path, or a word in its place where that is not known. */
  [[nodiscard]] virtual std::string workerPath(const std::string& path) const { return path; }

  /** Why nodes of a device cannot be seen: "descriptors do not show". Empty where they would be seen. */
  [[nodiscard]] virtual std::string whyNodesAreHidden(const std::string& /*device*/) const { return {}; }

  /** Why it is not known whether it is a high-speed device; empty where "speed" says that. */
  [[nodiscard]] virtual std::string whySpeedIsUnknown(const std::string& /*device*/) const { return {}; }

  /** Whether its "speed" is a conclusion from the descriptors. */
  [[nodiscard]] virtual bool infersSpeed() const { return false; }
};

/** A device to explain. */
struct Device {
  std::shared_ptr<const DeviceTree> tree;
  std::string path;    // its physical directory, or its file
  std::string source;  // the argument that named it; empty where none did
};

/** Whether this is the text of the "uevent" file of a USB device. */
[[nodiscard]] bool isUsbDeviceEvent(const std::string& uevent);

/** Whether this is the directory of a HID node, by its name, or of a SCSI generic node, by its subsystem. */
[[nodiscard]] bool isNode(const DeviceAttributes& directory);

/** Sorts paths so that numbers in them count as such: "sg9" before "sg10". */
void sortByName(std::vector<std::string>& paths);

}  // namespace explain
