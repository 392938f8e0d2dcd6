#include "tools/explain/device_tree.h"

#include <algorithm>
#include <cstring>

namespace explain {

bool isUsbDeviceEvent(const std::string& uevent) {
  return uevent.find("DEVTYPE=usb_device") != std::string::npos;
}

bool isNodeName(const std::string& name, const std::string& prefix) {
  return name.size() > prefix.size() && name.starts_with(prefix) &&
         name.find_first_not_of("0123456789", prefix.size()) == std::string::npos;
}

void sortByName(std::vector<std::string>& paths) {
  std::ranges::sort(paths, [](const std::string& one, const std::string& other) {
    return strverscmp(one.c_str(), other.c_str()) < 0;
  });
}

}  // namespace explain
