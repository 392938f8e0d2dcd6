#include "soak/devices.h"

#include <filesystem>

#include "sim/recording_views.h"
#include "sim/uevent.h"
#include "soak/made_device.h"

namespace soak {

namespace {

namespace fs = std::filesystem;

constexpr int ports = 14;
constexpr int nodesOfDevice = 2;  // of one kind, at most, among the recordings

std::string devpathOf(const std::string& directory) {
  return directory.substr(std::string("/sys").size());
}

void announce(Life& life, const std::string& action, const std::string& directory) {
  life.send(sim::uevent(action, devpathOf(directory), {{"SUBSYSTEM", "usb"}, {"SEQNUM", "1"}}));
}

/** The port of a recording's name, with this number: "1-5.2" becomes "1-5.7". */
std::string withNumber(const std::string& name, int port) {
  return name.substr(0, name.find_last_of("-.") + 1) + std::to_string(port);
}

}  // namespace

Devices::Devices(sim::Unit& unit) : unit_(unit) {
  for (const std::string& name : sim::recordingNames()) {
    sim::DeviceRecording recording = sim::loadRecording(name);
    if (!recording.directory.empty()) {
      recordings_.push_back(std::move(recording));
    }
  }
}

std::vector<int> Devices::allPorts() {
  std::vector<int> all;
  for (int port = 1; port <= ports; ++port) {
    all.push_back(port);
  }
  return all;
}

std::vector<int> Devices::takenPorts() const {
  std::vector<int> taken;
  for (const auto& [port, device] : devices_) {
    taken.push_back(port);
  }
  return taken;
}

int Devices::portOf(const std::string& directory) const {
  for (const auto& [known, port] : portsOfDirectories_) {
    if ((directory + "/").starts_with(known + "/")) {
      return port;
    }
  }
  return 0;
}

std::vector<std::string> Devices::directories() const {
  std::vector<std::string> all;
  for (const auto& [port, device] : devices_) {
    all.push_back(device.directory);
  }
  return all;
}

// cppcheck-suppress constParameter ; the ways change the life
int Devices::plug(Random& random, Life& life, const std::vector<int>& freePorts) {
  const int port = random.pick(freePorts);
  using Plug = Device (Devices::*)(Random&, Life&, int);
  static const std::vector<Plug> ways = {&Devices::plugRecorded, &Devices::plugMade, &Devices::plugMade,
                                         &Devices::plugKeyboard, &Devices::plugDisk};
  Device device = (this->*random.pick(ways))(random, life, port);
  portsOfDirectories_[device.directory] = port;
  devices_[port] = std::move(device);
  return port;
}

// The unit's kernel has hiddev nodes in the class "usb". A daemon that serves no keyboards waits three seconds
// for each of them, so it mostly meets the nodes of a newer kernel.
Devices::Device Devices::plugRecorded(Random& random, Life& life, int port) {
  sim::DeviceRecording recording = random.pick(recordings_);
  if (life.model().options().keyboards || random.oneIn(30)) {
    recording = sim::withClassUsbHiddev(recording);
  }
  const std::string name = fs::path(recording.directory).filename();
  recording = sim::atPort(recording, withNumber(name, port), port * nodesOfDevice);
  unit_.sysfs.layOut(recording);
  for (const sim::RecordedEvent& event : recording.plugEvents) {
    life.send(event.datagram);
  }
  std::vector<std::string> nodes = recording.nodes("hiddev");
  const std::vector<std::string> disks = recording.nodes("sg");
  nodes.insert(nodes.end(), disks.begin(), disks.end());
  return {recording.directory, nodes, recording};
}

// Some devices are announced before sysfs is complete.
Devices::Device Devices::plugMade(Random& random, Life& life, int port) {
  sim::UsbDevice device = randomDevice(random, port);
  const sim::UsbDevice whole = device;
  const bool classIsLate = random.oneIn(6);
  const bool ueventIsLate = random.oneIn(8);
  if (classIsLate) {
    device.deviceClass.reset();
  }
  if (ueventIsLate) {
    device.uevent.reset();
  }
  const std::string directory = unit_.sysfs.add(device);
  if (random.oneIn(60)) {
    unit_.sysfs.removeAttribute(directory, random.oneIn(2) ? "speed" : "descriptors");
  }
  announce(life, "add", directory);
  if (ueventIsLate) {
    life.completeLater(directory, "uevent", *whole.uevent);
  }
  if (classIsLate) {
    life.completeLater(directory, "bDeviceClass", *whole.deviceClass + "\n");
  }
  return {directory, {}, std::nullopt};
}

Devices::Device Devices::plugKeyboard(Random& random, Life& life, int port) {
  const std::string directory = unit_.sysfs.add(
      usualDevice(random, port, random.oneIn(4) ? sim::mouseDescriptors() : sim::keyboardDescriptors()));
  announce(life, "add", directory);
  if (!life.model().options().keyboards) {
    return {directory, {}, std::nullopt};
  }
  sim::HiddevNode node;
  node.usbDevice = directory;
  node.name = "hiddev" + std::to_string(port * nodesOfDevice);
  node.dev = "180:" + std::to_string(port * nodesOfDevice);
  node.interfaceSubclass = random.word({"01", "00"});
  const std::string nodeDirectory = unit_.sysfs.add(node);
  announce(life, "add", nodeDirectory);
  return {directory, {nodeDirectory}, std::nullopt};
}

Devices::Device Devices::plugDisk(Random& random, Life& life, int port) {
  const std::string directory = unit_.sysfs.add(usualDevice(random, port, sim::diskDescriptors()));
  announce(life, "add", directory);
  sim::ScsiGenericNode node;
  node.usbDevice = directory;
  node.name = "sg" + std::to_string(port * nodesOfDevice);
  node.host = port * nodesOfDevice;
  if (random.oneIn(4)) {
    node.vendor.reset();
  }
  if (random.oneIn(4)) {
    node.model.reset();
  }
  const std::string nodeDirectory = unit_.sysfs.add(node);
  announce(life, "add", nodeDirectory);
  return {directory, {nodeDirectory}, std::nullopt};
}

void Devices::plugIncomplete(Random& random, Life& life, int port) {
  sim::UsbDevice device = randomDevice(random, port);
  (random.oneIn(2) ? device.deviceClass : device.uevent).reset();
  const std::string directory = unit_.sysfs.add(device);
  announce(life, "add", directory);
  life.settle();
  unit_.sysfs.removeDevice(directory);
  announce(life, "remove", directory);
  life.settle();
}

void Devices::unplug(int port, Life& life) {
  const Device& device = devices_.at(port);
  unit_.sysfs.removeDevice(device.directory);
  if (device.recording) {
    for (const sim::RecordedEvent& event : device.recording->unplugEvents) {
      life.send(event.datagram);
    }
  } else {
    announce(life, "remove", device.directory);
  }
  devices_.erase(port);
}

void Devices::announceAgain(int port, Random& random, Life& life) {
  const Device& device = devices_.at(port);
  const std::string link = "/sys/bus/usb/devices/" + fs::path(device.directory).filename().string();
  const bool nodeTakesLong = !life.model().options().keyboards && !random.oneIn(20);
  const bool byNode = !device.nodes.empty() && random.oneIn(2);
  const std::string node = byNode ? random.pick(device.nodes) : "";
  if (byNode && !(nodeTakesLong && node.find("hiddev") != std::string::npos)) {
    announce(life, "add", node);
  } else {
    announce(life, "add", random.oneIn(3) ? link : device.directory);
  }
}

void Devices::rename(int port, Random& random, Life& life) {
  life.completeLater(devices_.at(port).directory, "product", randomProduct(random) + "\n");
}

}  // namespace soak
