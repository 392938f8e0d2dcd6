#include "system/explain/recorded_devices.h"

#include <filesystem>

#include "sim/contract.h"
#include "tools/recorder/recording_output.h"

namespace support {

namespace fs = std::filesystem;

std::vector<std::string> devicesIn(const sim::DeviceRecording& recording) {
  std::vector<std::string> devices;
  for (const sim::TreeEntry& entry : recording.tree) {
    const fs::path path = "/sys/" + entry.path;
    const bool isConcerned = recording.directory.empty() || recording.owns(entry.path);
    if (isConcerned && entry.kind == sim::TreeEntry::Kind::file && path.filename() == "descriptors") {
      devices.push_back(path.parent_path());
    }
  }
  return devices;
}

std::string shownNameOf(const sim::DeviceRecording& recording, const std::string& device) {
  for (const sim::TreeEntry& entry : recording.tree) {
    if (entry.kind == sim::TreeEntry::Kind::file && "/sys/" + entry.path == device + "/product") {
      return entry.content.substr(0, entry.content.size() - (entry.content.ends_with('\n') ? 1 : 0));
    }
  }
  return contract::display::unnamedDevice;
}

std::string writeFolder(const sim::DeviceRecording& recording, const std::string& parent) {
  const std::string folder = parent + "/" + recording.name;
  recorder::writeRecording(recording, "4.19.0", folder);
  return folder;
}

}  // namespace support
