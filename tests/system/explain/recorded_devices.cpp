#include "system/explain/recorded_devices.h"

#include <algorithm>
#include <filesystem>

#include "sim/contract.h"
#include "tools/recorder/recording_output.h"

namespace support {

namespace fs = std::filesystem;

namespace {

template <class Recording>
auto fileIn(Recording& recording, const std::string& path) {
  return std::ranges::find_if(recording.tree, [&path](const sim::TreeEntry& entry) {
    return entry.kind == sim::TreeEntry::Kind::file && "/sys/" + entry.path == path;
  });
}

}  // namespace

std::vector<std::string> devicesIn(const sim::DeviceRecording& recording) {
  std::vector<std::string> devices;
  for (const sim::TreeEntry& entry : recording.tree) {
    const fs::path path = "/sys/" + entry.path;
    const bool isConcerned = recording.directory.empty() || recording.owns(entry.path);
    if (isConcerned && entry.kind == sim::TreeEntry::Kind::file && path.filename() == "descriptors") {
      devices.push_back(path.parent_path());
    }
  }
  std::ranges::sort(devices);
  return devices;
}

std::string shownNameOf(const sim::DeviceRecording& recording, const std::string& device) {
  const auto product = fileIn(recording, device + "/product");
  if (product == recording.tree.end()) {
    return contract::display::unnamedDevice;
  }
  const std::string& content = product->content;
  return content.substr(0, content.size() - (content.ends_with('\n') ? 1 : 0));
}

std::string folderOf(const std::string& name) {
  return sim::recordingsFolder() + "/" + name;
}

std::string testNameOf(const testing::TestParamInfo<std::string>& recording) {
  std::string name = recording.param;
  std::ranges::replace(name, '-', '_');
  return name;
}

std::string descriptorsOf(const sim::DeviceRecording& recording, const std::string& device) {
  return fileIn(recording, device + "/descriptors")->content;
}

sim::DeviceRecording withDescriptors(sim::DeviceRecording recording, const std::string& device,
                                     const std::string& descriptors) {
  fileIn(recording, device + "/descriptors")->content = descriptors;
  return recording;
}

std::string writeFolder(const sim::DeviceRecording& recording, const std::string& parent) {
  std::string folder = parent + "/" + recording.name;
  recorder::writeRecording(recording, "4.19.0", folder);
  return folder;
}

}  // namespace support
