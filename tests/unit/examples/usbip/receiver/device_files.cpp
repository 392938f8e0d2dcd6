#include "unit/examples/usbip/receiver/device_files.h"

#include <filesystem>
#include <utility>

#include "sim/files.h"

DeviceFiles::DeviceFiles(std::string directory) : directory_(std::move(directory)) {
  write("bDeviceClass", "00\n");
  write("busnum", "1\n");
  write("devnum", "7\n");
  write("speed", "480\n");
  write("descriptors",
        {"\x12\x01\x00\x02\x00\x00\x00\x40\x27\x06\x01\x00\x00\x00\x01\x02\x03\x01\x09\x02", 20});
}

void DeviceFiles::write(const std::string& name, const std::string& content) const {
  sim::writeFile(pathTo(name), content);
}

void DeviceFiles::remove(const std::string& name) const {
  std::filesystem::remove_all(pathTo(name));
}

void DeviceFiles::removeAll() const {
  std::filesystem::remove_all(directory_);
}
