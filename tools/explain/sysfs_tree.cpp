#include "tools/explain/sysfs_tree.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "hotplug/sysfs.h"
#include "tools/explain/error.h"
#include "tools/explain/worker_lines.h"
#include "ulx/directory.h"
#include "ulx/exceptions.h"
#include "ulx/path.h"

namespace explain {

namespace {

namespace fs = std::filesystem;

// Calls it. Who asks may read less than the daemon: what is denied says nothing of the device.
template <class Call>
auto unlessDenied(const std::string& attribute, Call call) {
  try {
    return call();
  } catch (const ulx::ErrnoException& error) {
    if (error.errorNumber != EACCES && error.errorNumber != EPERM) {
      throw;
    }
    throw Error(attribute + " cannot be read: " + std::strerror(error.errorNumber) +
                "; the daemon runs as root");
  }
}

class ReadableDevice : public SysfsDevice {
 public:
  using SysfsDevice::SysfsDevice;

  [[nodiscard]] bool has(const std::string& name) const override {
    return unlessDenied(path() + "/" + name, [&] { return SysfsDevice::has(name); });
  }

  [[nodiscard]] std::string content(const std::string& name) const override {
    return unlessDenied(path() + "/" + name, [&] { return SysfsDevice::content(name); });
  }

  [[nodiscard]] std::optional<std::string> find(const std::string& name) const override {
    return unlessDenied(path() + "/" + name, [&] { return SysfsDevice::find(name); });
  }
};

// A USB device is named after its bus and ports, "1-5.2". Most directories need no further look.
bool isOtherDevice(const std::string& directory) {
  return directory.find('-', directory.rfind('/')) != std::string::npos &&
         ulx::pathExists(directory + "/bDeviceClass");
}

bool isDirectory(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Every device has these directories, and nothing below them is a node: half of what would be looked at.
bool hasNoNodes(const std::string& directory) {
  const std::string_view name = std::string_view(directory).substr(directory.rfind('/') + 1);
  return name == "power" || name.starts_with("ep_");
}

void addNodes(std::vector<std::string>& found, const std::string& directory) {
  for (const std::string& entry : ulx::Directory(directory)) {
    if (hasNoNodes(entry) || !isDirectory(entry) || isOtherDevice(entry)) {
      continue;
    }
    if (isNode(SysfsDevice(entry))) {
      found.push_back(entry);
    }
    addNodes(found, entry);
  }
}

}  // namespace

std::unique_ptr<DeviceAttributes> SysfsTree::attributes(const std::string& path) const {
  return std::make_unique<ReadableDevice>(path);
}

std::vector<std::string> SysfsTree::nodes(const std::string& device) const {
  std::vector<std::string> found;
  try {
    addNodes(found, device);
  } catch (const ulx::Exception&) {
    // Unplugged meanwhile: those that were found are the answer.
  }
  sortByName(found);
  return found;
}

// A copy of a part of another machine's sysfs does not show where that was.
std::string SysfsTree::workerPath(const std::string& path) const {
  return path.starts_with("/sys/") ? path : unknownDirectory;
}

DeviceKind SysfsTree::kindOf(std::uint32_t classes, const DeviceAttributes& device) const {
  return classify(classes, device);
}

// Interfaces, "1-5:1.0", are listed beside the devices.
std::vector<std::string> pluggedDevices() {
  std::vector<std::string> devices;
  for (const std::string& entry : ulx::Directory("/sys/bus/usb/devices")) {
    std::error_code gone;
    const fs::path directory = fs::canonical(entry, gone);
    if (!gone && entry.find(':') == std::string::npos) {
      devices.push_back(directory);
    }
  }
  sortByName(devices);
  return devices;
}

std::string physicalPath(const std::string& path) {
  std::error_code error;
  const fs::path physical = fs::canonical(path, error);
  if (error) {
    throw Error(path + ": " + error.message());
  }
  return physical;
}

}  // namespace explain
