#include "tools/explain/device_tree.h"

#include <algorithm>
#include <cstring>

#include "hotplug/sysfs.h"
#include "ulx/exceptions.h"

namespace explain {

bool isUsbDeviceEvent(const std::string& uevent) {
  return uevent.find("DEVTYPE=usb_device") != std::string::npos;
}

bool isNode(const DeviceAttributes& directory) {
  try {
    return isHiddevPath(directory.path()) || directory.subsystem() == scsiGenericSubsystem;
  } catch (const ulx::Exception&) {
    return false;  // for the daemon, too
  }
}

void sortByName(std::vector<std::string>& paths) {
  std::ranges::sort(paths, [](const std::string& one, const std::string& other) {
    return strverscmp(one.c_str(), other.c_str()) < 0;
  });
}

}  // namespace explain
