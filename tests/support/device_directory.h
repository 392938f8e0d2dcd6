#pragma once

#include <string>

#include "sim/files.h"
#include "support/temporary_directory.h"

namespace support {

/** A directory that stands for a device's in sysfs. It has no attributes but those that a test writes. */
class DeviceDirectory {
 public:
  /** `name` may lead to a directory below. */
  void write(const std::string& name, const std::string& content) const {
    sim::writeFile(directory_ / name, content);
  }
  [[nodiscard]] const std::string& path() const { return directory_.path(); }

 private:
  TemporaryDirectory directory_;
};

}  // namespace support
