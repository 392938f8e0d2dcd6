#include "bench/parts/recorded_device.h"

#include <filesystem>

namespace bench {

RecordedDevice::RecordedDevice(const sim::DeviceRecording& recording)
    : DeviceAttributes(recording.directory) {
  for (const sim::TreeEntry& entry : recording.tree) {
    const std::filesystem::path place = "/sys/" + entry.path;
    if (entry.kind != sim::TreeEntry::Kind::directory && place.parent_path() == recording.directory) {
      entries_[place.filename()] = entry.content;
    }
  }
}

std::string RecordedDevice::subsystem() const {
  return std::filesystem::path(entries_.at("subsystem")).filename();
}

bool RecordedDevice::has(const std::string& name) const {
  return entries_.contains(name);
}

std::string RecordedDevice::content(const std::string& name) const {
  return entries_.at(name);
}

}  // namespace bench
