#pragma once

#include <string>
#include <vector>

#include "tools/explain/device_tree.h"

namespace explain {

/** The sysfs of this machine, or a copy of a part of another's. */
class SysfsTree : public DeviceTree {
 public:
  [[nodiscard]] std::unique_ptr<DeviceAttributes> attributes(const std::string& path) const override;
  [[nodiscard]] std::vector<std::string> nodes(const std::string& device) const override;
  [[nodiscard]] DeviceKind kindOf(std::uint32_t classes, const DeviceAttributes& device) const override;
  [[nodiscard]] std::string workerPath(const std::string& path) const override;
};

/** The physical directories of the USB devices that are plugged in, hubs before what is behind them. Throws opendir(PATH). */
[[nodiscard]] std::vector<std::string> pluggedDevices();

/** The physical directory that `path` leads to. Throws Error when there is none. */
[[nodiscard]] std::string physicalPath(const std::string& path);

}  // namespace explain
