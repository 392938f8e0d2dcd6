#pragma once

#include <string>

namespace support {

/** The files of the device that devices/README.md describes in as few lines as possible. */
struct ReadmeDevice {
  std::string about;
  std::string tree;
};

[[nodiscard]] ReadmeDevice readmeDevice();

}  // namespace support
