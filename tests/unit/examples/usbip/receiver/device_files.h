#pragma once

#include <string>

/** The attributes of a USB device that the worker reads, as files in a directory like that of sysfs. */
class DeviceFiles {
 public:
  /** Lays out 0627:0001 of high speed, number 7 on bus 1. */
  explicit DeviceFiles(std::string directory);

  [[nodiscard]] const std::string& directory() const { return directory_; }
  [[nodiscard]] std::string pathTo(const std::string& name) const { return directory_ + "/" + name; }
  void write(const std::string& name, const std::string& content) const;
  void remove(const std::string& name) const;
  /** As when the device is plugged out. */
  void removeAll() const;

 private:
  std::string directory_;
};
