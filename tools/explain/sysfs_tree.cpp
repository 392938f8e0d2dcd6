#include "tools/explain/sysfs_tree.h"

#include <filesystem>
#include <system_error>

#include "hotplug/sysfs.h"
#include "tools/explain/error.h"

namespace explain {

namespace {

namespace fs = std::filesystem;

// An interface's directory, "1-5:1.0", has a colon; other USB devices are beside the interfaces.
bool isOtherDevice(const fs::path& directory) {
  std::error_code ignored;
  return fs::exists(directory / "bDeviceClass", ignored);
}

void addNodes(std::vector<std::string>& found, const fs::path& directory, const std::string& prefix) {
  std::error_code gone;  // what is unplugged meanwhile has no nodes
  for (fs::directory_iterator entry(directory, gone); !gone && entry != fs::directory_iterator();
       entry.increment(gone)) {
    if (entry->is_symlink(gone) || !entry->is_directory(gone) || isOtherDevice(entry->path())) {
      continue;
    }
    if (isNodeName(entry->path().filename(), prefix)) {
      found.push_back(entry->path());
    }
    addNodes(found, entry->path(), prefix);
  }
}

}  // namespace

std::unique_ptr<DeviceAttributes> SysfsTree::attributes(const std::string& path) const {
  return std::make_unique<SysfsDevice>(path);
}

std::vector<std::string> SysfsTree::nodes(const std::string& device, const std::string& prefix) const {
  std::vector<std::string> found;
  addNodes(found, device, prefix);
  sortByName(found);
  return found;
}

DeviceKind SysfsTree::kindOf(std::uint32_t classes, const DeviceAttributes& device) const {
  return classify(classes, device);
}

std::vector<std::string> pluggedDevices() {
  std::vector<std::string> devices;
  std::error_code none;
  for (const fs::directory_entry& entry : fs::directory_iterator("/sys/bus/usb/devices", none)) {
    std::error_code gone;
    const fs::path directory = fs::canonical(entry.path(), gone);
    const bool isInterface = entry.path().filename().native().find(':') != std::string::npos;
    if (!gone && !isInterface) {
      devices.push_back(directory);
    }
  }
  if (none) {
    throw Error("there is no /sys/bus/usb/devices: " + none.message());
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
