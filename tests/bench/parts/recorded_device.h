#pragma once

#include <map>
#include <string>

#include "hotplug/device_attributes.h"
#include "sim/device_recording.h"

namespace bench {

/** The attributes of a recorded device, held in memory. Those of its interfaces and nodes are left out. */
class RecordedDevice : public DeviceAttributes {
 public:
  explicit RecordedDevice(const sim::DeviceRecording& recording);

  [[nodiscard]] std::string subsystem() const override;
  [[nodiscard]] bool has(const std::string& name) const override;
  [[nodiscard]] std::string content(const std::string& name) const override;

 private:
  std::map<std::string, std::string> entries_;  // by name: a file's bytes, or a link's text
};

}  // namespace bench
