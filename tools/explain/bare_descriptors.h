#pragma once

#include <string>
#include <vector>

#include "tools/explain/device_tree.h"

namespace explain {

/** A device of which only the content of its "descriptors" is known. */
class BareDescriptors : public DeviceTree {
 public:
  /** `speed`: what is known of the device's "speed"; empty: it is inferred from the descriptors. */
  explicit BareDescriptors(std::string descriptors, std::string speed = {});

  [[nodiscard]] std::unique_ptr<DeviceAttributes> attributes(const std::string& path) const override;
  [[nodiscard]] std::vector<std::string> nodes(const std::string& device) const override;
  [[nodiscard]] DeviceKind kindOf(std::uint32_t classes, const DeviceAttributes& device) const override;
  [[nodiscard]] std::string workerPath(const std::string& path) const override;
  [[nodiscard]] std::string whyNodesAreHidden(const std::string& device) const override;
  [[nodiscard]] bool infersSpeed() const override { return speed_.empty(); }
  [[nodiscard]] std::string whySpeedIsUnknown(const std::string& device) const override;

 private:
  std::string descriptors_;
  std::string speed_;
};

}  // namespace explain
