#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/explain/device_tree.h"
#include "tools/recorder/device_recording.h"

namespace explain {

/** The sysfs tree of a recording. Nothing more comes of it, so nothing is waited for. */
class RecordedTree : public DeviceTree {
 public:
  explicit RecordedTree(const recorder::DeviceRecording& recording);

  [[nodiscard]] std::unique_ptr<DeviceAttributes> attributes(const std::string& path) const override;
  [[nodiscard]] std::vector<std::string> nodes(const std::string& device) const override;
  [[nodiscard]] DeviceKind kindOf(std::uint32_t classes, const DeviceAttributes& device) const override;
  /** A folder that was written by hand may leave out the interfaces, and with them all nodes. */
  [[nodiscard]] std::string whyNodesAreHidden(const std::string& device) const override;
  [[nodiscard]] std::string whySpeedIsUnknown(const std::string& device) const override;

  /**
   * The directories of the USB devices that were plugged: the recorded one and those behind it. Of a recording that
   * names no device, all of them.
   */
  [[nodiscard]] std::vector<std::string> devices() const;

  /** The entry that `path` leads to; null where there is none. `path` begins with "/sys/". */
  [[nodiscard]] const recorder::TreeEntry* find(const std::string& path) const;
  /** The entry at `path` itself, which may be a link. */
  [[nodiscard]] const recorder::TreeEntry* findUnresolved(const std::string& path) const;

 private:
  // Whether there is no other USB device between them.
  [[nodiscard]] bool belongsTo(const std::string& node, const std::string& device) const;
  [[nodiscard]] bool isUsbDevice(const std::string& path) const;

  std::string plugged_;                                 // the recorded device's directory, or empty
  std::map<std::string, recorder::TreeEntry> entries_;  // by path, from "/sys/" on
};

}  // namespace explain
