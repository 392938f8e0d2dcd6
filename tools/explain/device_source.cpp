#include "tools/explain/device_source.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "tools/explain/bare_descriptors.h"
#include "tools/explain/descriptor_file.h"
#include "tools/explain/error.h"
#include "tools/explain/failure_text.h"
#include "tools/explain/recorded_tree.h"
#include "tools/explain/sysfs_tree.h"
#include "tools/recorder/error.h"
#include "tools/recorder/recording_input.h"
#include "ulx/exceptions.h"

namespace explain {

namespace {

namespace fs = std::filesystem;

constexpr const char* usbDevices = "/sys/bus/usb/devices/";

std::vector<Device> recordedDevices(const std::string& folder) {
  std::shared_ptr<const RecordedTree> tree;
  try {
    tree = std::make_shared<RecordedTree>(recorder::readRecording(folder));
  } catch (const recorder::Error& error) {
    throw Error(error.what());
  }
  std::vector<Device> devices;
  for (const std::string& path : tree->devices()) {
    devices.push_back({.tree = tree, .path = path, .source = folder});
  }
  if (devices.empty()) {
    throw Error(folder + ": no USB device is recorded in it");
  }
  return devices;
}

bool isUsbDevice(const DeviceAttributes& directory) {
  return isUsbDeviceEvent(directory.textOr("uevent", ""));
}

// The USB device that a directory of sysfs belongs to, or nothing.
fs::path deviceAbove(const SysfsTree& tree, fs::path directory) {
  while (directory.has_relative_path() && !isUsbDevice(*tree.attributes(directory))) {
    directory = directory.parent_path();
  }
  return directory.has_relative_path() ? directory : fs::path();
}

[[noreturn]] void refuseDirectory(const SysfsTree& tree, const std::string& argument,
                                  const std::string& path) {
  const fs::path device = deviceAbove(tree, path);
  if (device.empty()) {
    throw Error(argument + ": neither a USB device nor a recorded one");
  }
  throw Error(argument + ": no device, but a part of one: ask for " + device.filename().native());
}

// One without "uevent" may be a device that the kernel is still about to show.
Device sysfsDevice(const std::string& argument, const std::string& directory) {
  auto tree = std::make_shared<SysfsTree>();
  const std::string path = physicalPath(directory);
  const std::unique_ptr<DeviceAttributes> attributes = tree->attributes(path);
  const bool isPossible =
      attributes->has("uevent") ? isUsbDevice(*attributes) : attributes->has("descriptors");
  if (!isPossible) {
    refuseDirectory(*tree, argument, path);
  }
  return {.tree = std::move(tree), .path = path, .source = argument};
}

Device describedDevice(const std::string& file, const std::string& speed) {
  return {.tree = std::make_shared<BareDescriptors>(readDescriptorFile(file), speed),
          .path = file,
          .source = file};
}

bool isNameOfDevice(const std::string& argument) {
  std::error_code none;
  return argument != "." && argument != ".." && fs::exists(usbDevices + argument, none);
}

// An argument without "/" is a name in sysfs where there is such a device, and where there is no such file.
std::string placeOf(const std::string& argument) {
  std::error_code none;
  const bool isName =
      argument.find('/') == std::string::npos && (isNameOfDevice(argument) || !fs::exists(argument, none));
  return isName ? usbDevices + argument : argument;
}

// Other special files are left alone: to open one can have effects.
bool isFileOfDescriptors(const std::string& place, const fs::file_status& status) {
  return fs::is_regular_file(status) || fs::is_fifo(status) || place == "/dev/stdin";
}

bool isRecording(const std::string& place) {
  return fs::exists(place + "/about.txt");
}

std::vector<Device> devicesAt(const std::string& argument, const std::string& speed) {
  const std::string place = placeOf(argument);
  const fs::file_status status = fs::status(place);
  if (!fs::exists(status)) {
    throw Error(argument + ": there is no such device, folder or file");
  }
  if (isFileOfDescriptors(place, status)) {
    return {describedDevice(place, speed)};
  }
  if (!fs::is_directory(status)) {
    throw Error(argument + ": neither a directory nor a file");
  }
  return isRecording(place) ? recordedDevices(place) : std::vector{sysfsDevice(argument, place)};
}

std::string pluggedDeviceAt(const std::string& argument) {
  const std::string place = placeOf(argument);
  if (!fs::is_directory(place) || isRecording(place)) {
    throw Error(argument + ": there is no such device on this machine");
  }
  return sysfsDevice(argument, place).path;
}

// What the file system or the daemon's functions throw is reported as of the argument.
template <class Call>
auto namedBy(const std::string& argument, Call call) {
  try {
    return call(argument);
  } catch (const fs::filesystem_error& error) {
    throw Error(argument + ": " + error.code().message());
  } catch (const ulx::Exception&) {
    throw Error(argument + ": " + failureText());
  }
}

}  // namespace

std::vector<Device> devicesNamed(const std::string& argument, const std::string& speed) {
  return namedBy(argument, [&speed](const std::string& named) { return devicesAt(named, speed); });
}

std::string pluggedDeviceNamed(const std::string& argument) {
  return namedBy(argument, pluggedDeviceAt);
}

std::vector<Device> devicesPlugged() {
  const auto tree = std::make_shared<SysfsTree>();
  std::vector<Device> devices;
  try {
    for (const std::string& path : pluggedDevices()) {
      devices.push_back({.tree = tree, .path = path, .source = {}});
    }
  } catch (const ulx::Exception&) {
    throw Error("no USB devices can be listed here: " + failureText());
  }
  return devices;
}

}  // namespace explain
