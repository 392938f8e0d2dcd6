#include "demo/desk.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "sim/error.h"
#include "sim/recording_views.h"

namespace demo {

namespace {

namespace fs = std::filesystem;

constexpr int portsOfBus = 8;
constexpr int nodesOfDevice = 2;  // of one kind, at most, among the recordings

sim::DeviceRecording load(const std::string& name) {
  const std::vector<std::string> names = sim::recordingNames();
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    throw sim::Error("there is no recorded device named " + name);
  }
  sim::DeviceRecording recording = sim::loadRecording(name);
  if (recording.directory.empty()) {
    throw sim::Error(name + " is part of the unit and cannot be plugged");
  }
  return recording;
}

/** The number behind the hyphen of "1-5". */
int portNumber(const std::string& port) {
  return std::stoi(port.substr(port.find('-') + 1));
}

}  // namespace

const sim::DeviceRecording& Desk::plugIn(const std::string& name, const std::string& port) {
  if (devices_.contains(name)) {
    throw sim::Error(name + " is plugged in already");
  }
  sim::DeviceRecording recording = sim::withClassUsbHiddev(load(name));
  const std::string chosen = port.empty() ? freePort(recording) : port;
  const int firstNode = (portNumber(chosen) - 1) * nodesOfDevice;
  return devices_.emplace(name, sim::atPort(std::move(recording), chosen, firstNode)).first->second;
}

sim::DeviceRecording Desk::takeOut(const std::string& name) {
  auto device = devices_.extract(name);
  if (device.empty()) {
    throw sim::Error(name + " is not plugged in");
  }
  sim::DeviceRecording recording = std::move(device.mapped());
  return recording;
}

std::string Desk::freePort(const sim::DeviceRecording& recording) const {
  const fs::path directory = recording.directory;
  const std::string recorded = directory.filename();
  const std::string bus = recorded.substr(0, recorded.find('-') + 1);
  for (int number = 1; number <= portsOfBus; ++number) {
    std::string port = bus + std::to_string(number);
    if (!isTaken(directory.parent_path() / port)) {
      return port;
    }
  }
  throw sim::Error("all ports of that bus are taken; unplug something first");
}

bool Desk::isTaken(const std::string& directory) const {
  return std::any_of(devices_.begin(), devices_.end(),
                     [&directory](const auto& device) { return device.second.directory == directory; });
}

}  // namespace demo
