#include "tools/recorder/short_recording.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>

#include "tools/recorder/error.h"
#include "tools/recorder/recording_output.h"

namespace recorder {

namespace {

namespace fs = std::filesystem;

std::string belowSys(const DeviceRecording& recording) {
  if (!recording.directory.starts_with("/sys/devices/")) {
    throw Error(recording.name + ": about.txt has no \"device directory: /sys/devices/...\"");
  }
  return recording.directory.substr(sizeof("/sys/") - 1);
}

/** Two hexadecimal digits: the fifth byte of a device descriptor (USB 2.0, table 9-8). */
std::string deviceClassIn(const DeviceRecording& recording, const TreeEntry* descriptors) {
  constexpr std::size_t bDeviceClass = 4;
  if (descriptors == nullptr || descriptors->content.size() <= bDeviceClass) {
    throw Error(recording.name + ": tree.txt has no descriptors of the device");
  }
  return hexadecimal(descriptors->content.substr(bDeviceClass, 1));
}

/** A link's text from this directory below /sys to that one. */
std::string linkText(const std::string& from, const std::string& to) {
  return fs::path(to).lexically_relative(from);
}

void addUnlessThere(DeviceRecording& recording, TreeEntry entry) {
  if (recording.entry(entry.path) == nullptr) {
    recording.tree.push_back(std::move(entry));
  }
}

}  // namespace

bool isShort(const DeviceRecording& recording) {
  const std::string directory = recording.directory;
  return !directory.empty() &&
         std::none_of(recording.tree.begin(), recording.tree.end(), [&](const TreeEntry& entry) {
           return entry.kind == TreeEntry::Kind::directory && "/sys/" + entry.path == recording.directory;
         });
}

void completeShort(DeviceRecording& recording) {
  using Kind = TreeEntry::Kind;
  const std::string directory = belowSys(recording);
  const std::string deviceClass = deviceClassIn(recording, recording.entry(directory + "/descriptors"));
  recording.tree.insert(recording.tree.begin(), {Kind::directory, directory, {}});
  addUnlessThere(recording, {Kind::file, directory + "/bDeviceClass", deviceClass + "\n"});
  addUnlessThere(recording, {Kind::file, directory + "/speed", recording.speed + "\n"});
  addUnlessThere(recording, {Kind::link, directory + "/subsystem", linkText(directory, "bus/usb")});
  addUnlessThere(recording, {Kind::file, directory + "/uevent", "DEVTYPE=usb_device\n"});
  if (!recording.product.empty()) {
    addUnlessThere(recording, {Kind::file, directory + "/product", recording.product + "\n"});
  }
  const std::string link = "bus/usb/devices/" + fs::path(directory).filename().string();
  addUnlessThere(recording, {Kind::link, link, linkText("bus/usb/devices", directory)});
}

}  // namespace recorder
