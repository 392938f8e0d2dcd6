#include "kernel/guest/desk.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sstream>

#include "sim/error.h"

namespace guest {

namespace {

/** What the machine tells this system of itself on the kernel's command line. */
std::string fromCommandLine(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) {
    throw sim::Error(std::string(name) + " is not set: this program runs in an emulated machine only");
  }
  return value;
}

Machine& thisMachine() {
  static Machine machine(fromCommandLine("MONITOR_PORT"));
  return machine;
}

std::string nextId() {
  static int made = 0;
  return "device" + std::to_string(++made);
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
  std::istringstream words(fromCommandLine("USB_CONTROLLERS"));
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
    for (; !devices_.empty(); devices_.pop_back()) {
      remove(devices_.back());
    }
  } catch (const std::exception& error) {
    // The next test would find devices that it does not know.
    std::fprintf(stderr, "the desk is not empty: %s\n", error.what());
    std::abort();
  }
}

PluggedDevice& Desk::plug(const EmulatedDevice& device, const Socket& socket) {
  const std::string id = nextId();
  execute(device.before, id);
  machine_.execute("device_add", R"({"driver": ")" + device.driver + R"(", "id": ")" + id + R"(", "bus": ")" +
                                     socket.bus + R"(", "port": ")" + socket.port + "\"" +
                                     withId(device.properties, id) + "}");
  PluggedDevice& plugged =
      devices_.emplace_back(PluggedDevice{.device = device, .socket = socket, .id = id, .directory = ""});
  execute(device.after, id);
  plugged.directory = events.waitFor(usbDeviceBound).directory;
  return plugged;
}

PluggedDevice& Desk::plugBehind(const PluggedDevice& hub, int port, const EmulatedDevice& device) {
  return plug(device, {hub.socket.bus, hub.socket.port + "." + std::to_string(port)});
}

void Desk::takeOut(PluggedDevice& device) {
  setAttached(device, "false");
  events.waitForRemovalOf(device.directory);
  markTakenOut(device);
}

void Desk::plugAgain(PluggedDevice& device) {
  setAttached(device, "true");
  device.directory = events.waitFor(usbDeviceBound).directory;
  device.isPluggedIn = true;
}

void Desk::execute(const std::vector<MachineCommand>& commands, const std::string& id) {
  for (const MachineCommand& command : commands) {
    machine_.execute(command.name, withId(command.arguments, id));
  }
}

void Desk::setAttached(const PluggedDevice& device, const std::string& value) {
  machine_.execute("qom-set",
                   R"({"path": ")" + device.id + R"(", "property": "attached", "value": )" + value + "}");
}

void Desk::markTakenOut(const PluggedDevice& hub) {
  for (PluggedDevice& device : devices_) {
    if ((device.directory + "/").starts_with(hub.directory + "/")) {
      device.isPluggedIn = false;
    }
  }
}

void Desk::remove(const PluggedDevice& device) {
  machine_.execute("device_del", R"({"id": ")" + device.id + "\"}");
  machine_.waitUntilDeleted(device.id);
  if (device.isPluggedIn && !device.directory.empty()) {
    events.waitForRemovalOf(device.directory);
  }
  execute(device.device.afterDeletion, device.id);
}

}  // namespace guest
