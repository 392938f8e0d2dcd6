#include "tools/explain/device_tree.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace explain {

namespace {

// Whether the last component of `path` is `prefix` and a number.
bool isNumbered(std::string_view path, std::string_view prefix) {
  const std::string_view name = path.substr(path.rfind('/') + 1);  // npos + 1 is 0
  return name.size() > prefix.size() && name.starts_with(prefix) &&
         name.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

}  // namespace

bool isUsbDeviceEvent(const std::string& uevent) {
  return uevent.find("DEVTYPE=usb_device") != std::string::npos;
}

bool isHidNode(const std::string& path) {
  return isNumbered(path, "hiddev");
}

bool isScsiNode(const std::string& path) {
  return isNumbered(path, "sg");
}

void sortByName(std::vector<std::string>& paths) {
  std::ranges::sort(paths, [](const std::string& one, const std::string& other) {
    return strverscmp(one.c_str(), other.c_str()) < 0;
  });
}

}  // namespace explain
