#include "kernel/guest/desk.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sstream>

#include "sim/error.h"

namespace guest {

namespace {

std::string nextId() {
  static int made = 0;
  return "device" + std::to_string(++made);
}

bool isBehind(const PluggedDevice& device, const PluggedDevice& outer) {
  return !outer.directory.empty() && device.directory.starts_with(outer.directory + "/");
}

std::string withId(std::string text, const std::string& id) {
  for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at + id.size())) {
    text.replace(at, 1, id);
  }
  return text;
}

}  // namespace

Socket highSpeedSocket(int number) {
  return socketOf("ehci", number);
}

Socket fullSpeedSocket(int number) {
  return socketOf("ohci", number);
}

std::vector<std::string> controllers() {
  std::istringstream words(machineSetting("USB_CONTROLLERS"));
  std::vector<std::string> types;
  for (std::string type; std::getline(words, type, ',');) {
    types.push_back(type);
  }
  return types;
}

Socket socketOf(const std::string& controller, int number) {
  return {controller + ".0", std::to_string(number)};
}

Desk::Desk() : machine_(thisMachine()) {}

Desk::~Desk() {
  try {
    while (!devices_.empty()) {
      takeOut(PluggedDevice(devices_.back()));
    }
  } catch (const std::exception& error) {
    // The next test would find devices that it does not know.
    std::fprintf(stderr, "the desk is not empty: %s\n", error.what());
    std::abort();
  }
}

PluggedDevice Desk::plug(const EmulatedDevice& device, const Socket& socket) {
  const std::string id = nextId();
  execute(device.before, id);
  machine_.execute("device_add", R"({"driver": ")" + device.driver + R"(", "id": ")" + id + R"(", "bus": ")" +
                                     socket.bus + R"(", "port": ")" + socket.port + "\"" +
                                     withId(device.properties, id) + "}");
  devices_.push_back({.device = device, .socket = socket, .id = id, .directory = {}});
  execute(device.after, id);
  devices_.back().directory = events.waitFor(usbDeviceAdded).directory;
  events.waitForDriverOf(devices_.back().directory);
  return devices_.back();
}

PluggedDevice Desk::plugBehind(const PluggedDevice& outer, int port, const EmulatedDevice& device) {
  return plug(device, {outer.socket.bus, outer.socket.port + "." + std::to_string(port)});
}

void Desk::takeOut(const PluggedDevice& device) {
  machine_.execute("device_del", R"({"id": ")" + device.id + "\"}");
  machine_.waitUntilDeleted(device.id);
  if (!device.directory.empty()) {
    events.waitForRemovalOf(device.directory);
  }
  forget(device);
}

void Desk::execute(const std::vector<MachineCommand>& commands, const std::string& id) {
  for (const MachineCommand& command : commands) {
    machine_.execute(command.name, withId(command.arguments, id));
  }
}

// The machine has deleted what is behind a hub together with the hub.
void Desk::forget(const PluggedDevice& taken) {
  std::erase_if(devices_, [&](const PluggedDevice& device) {
    const bool hasGone = device.id == taken.id || isBehind(device, taken);
    if (hasGone) {
      execute(device.device.afterDeletion, device.id);
    }
    return hasGone;
  });
}

}  // namespace guest
