#include "demo/unit.h"

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "sim/error.h"
#include "sim/recording_views.h"

namespace demo {

namespace {

namespace fs = std::filesystem;

bool contains(const Words& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

/** What identifies a device: its name, or the full path of its folder. */
std::string identify(const std::string& device) {
  if (device.find('/') == std::string::npos) {
    return device;
  }
  const fs::path folder = fs::weakly_canonical(device);
  return folder.has_filename() ? folder : folder.parent_path();
}

sim::DeviceRecording load(const std::string& device) {
  const bool isPath = device.starts_with('/');
  if (!(isPath ? fs::is_directory(device) : contains(sim::DeviceRecording::names(), device))) {
    throw sim::Error("there is no recorded device " + std::string(isPath ? "in " : "named ") + device);
  }
  sim::DeviceRecording recording = sim::DeviceRecording::load(device);
  if (recording.directory.empty()) {
    throw sim::Error(device + " is part of the unit and cannot be plugged");
  }
  return recording;
}

void demandMessages(const Words& arguments) {
  const bool debugs = std::any_of(arguments.begin(), arguments.end(), [](const std::string& argument) {
    return argument.starts_with("--debug=") && argument.find("ctrl") != std::string::npos;
  });
  if (!debugs || contains(arguments, "--syslog")) {
    throw sim::Error("the demo shows the daemon's messages: give it --debug=ctrl, and no --syslog");
  }
  if (!contains(arguments, "--stderr") && Unit::configured("usb:log_to_syslog")) {
    throw sim::Error("the demo shows the daemon's messages: with usb:log_to_syslog, give it --stderr");
  }
}

}  // namespace

void Unit::startDaemon(const Words& arguments) {
  if (daemonRuns()) {
    throw sim::Error("the daemon runs already");
  }
  demandMessages(arguments);
  Words command = {"usb_rx_ctrl"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  log_.line(Tag::Daemon, "starts: " + typed(command));
  unit_.startDaemon(arguments);
  following_ = true;
  linesTaken_ = 0;
  try {
    unit_.waitUntilServing();
  } catch (const sim::Error&) {
    if (daemonRuns()) {
      throw;
    }
  }
  report();
}

void Unit::demandDaemon() {
  if (!daemonRuns()) {
    throw sim::Error("the daemon does not run");
  }
}

void Unit::plug(const std::string& device) {
  const std::string identity = identify(device);
  if (devices_.contains(identity)) {
    throw sim::Error(device + " is plugged in already");
  }
  sim::DeviceRecording recording = sim::withClassUsbHiddev(load(identity));
  const std::string port = freePort(recording);
  constexpr int nodesOfDevice = 2;  // of one kind, at most, among the recordings
  const int firstNode = (std::stoi(port.substr(port.find_last_of("-.") + 1)) - 1) * nodesOfDevice;
  recording = sim::atPort(std::move(recording), port, firstNode);
  layOut(recording);
  send(devices_.emplace(identity, std::move(recording)).first->second.plugEvents);
}

/** A number of its own behind the bus or the hub that the device was recorded on. */
std::string Unit::freePort(const sim::DeviceRecording& recording) const {
  constexpr int portsOfHub = 8;
  const fs::path directory = recording.directory;
  const std::string recorded = directory.filename();
  const std::string hub = recorded.substr(0, recorded.find_last_of("-.") + 1);
  for (int number = 1; number <= portsOfHub; ++number) {
    std::string port = hub + std::to_string(number);
    if (std::none_of(devices_.begin(), devices_.end(), [&](const auto& device) {
          return device.second.directory == directory.parent_path() / port;
        })) {
      return port;
    }
  }
  throw sim::Error("all ports of that bus are taken; unplug something first");
}

void Unit::layOut(const sim::DeviceRecording& recording) {
  unit_.sysfs.layOut(recording);
  // A kernel announces nothing that is not there; the recorded trees leave some out.
  for (const sim::RecordedEvent& event : recording.plugEvents) {
    const std::string head = event.datagram.substr(0, event.datagram.find('\0'));
    const std::string directory = "/sys" + head.substr(head.find('@') + 1);
    if (!fs::exists(directory)) {
      unit_.sysfs.makeDirectory(directory);
    }
  }
}

void Unit::unplug(const std::string& device) {
  const auto taken = devices_.extract(identify(device));
  if (taken.empty()) {
    throw sim::Error(device + " is not plugged in");
  }
  const sim::DeviceRecording& recording = taken.mapped();
  unit_.sysfs.remove(recording);
  send(recording.unplugEvents);
  const Workers all = workers_;
  for (const NumberedWorker& each : all) {
    if ((each.device + "/").starts_with(recording.directory + "/")) {
      each.worker->exitWith(0);
      logEndOfWorker(each, " with status 0: its device has gone");
    }
  }
  report();
}

Words Unit::pluggedIn() const {
  Words devices;
  for (const auto& [device, recording] : devices_) {
    devices.push_back(device);
  }
  return devices;
}

void Unit::send(const std::vector<sim::RecordedEvent>& events) {
  for (const sim::RecordedEvent& event : events) {
    unit_.uevents.send(event.datagram);
    reportUevent(event.datagram);
  }
  logCountedUevents();
  ueventLogged_ = false;
  report();
}

void Unit::deliverLink(const std::string& parameters) {
  demandDaemon();
  log_.line(Tag::Link, "sends    \"" + parameters + "\"");
  sim::LinkManager connection = unit_.connect();
  connection.send(parameters);
  // The former connection lasts until the daemon has heard of the new one: its end would be the daemon's.
  const std::optional<sim::LinkManager> former = std::exchange(linkManager_, std::move(connection));
  report();
}

void Unit::askForLink() {
  demandDaemon();
  log_.line(Tag::Link, "sends    \"?\"");
  sim::LinkManager client = unit_.connect();
  client.send("?");
  queries_.push_back(std::move(client));
  report();
  if (!queries_.empty()) {
    log_.event(Tag::Link, "is kept waiting for an answer");
  }
}

void Unit::hangUp() {
  demandDaemon();
  if (!linkManager_) {
    throw sim::Error("there is no link manager: nobody has delivered link parameters yet");
  }
  log_.line(Tag::Link, "closes its connection");
  linkManager_.reset();
  unit_.daemon().waitForExit();
  report();
}

void Unit::endWorker(int number, int status) {
  const NumberedWorker ending = worker(number);
  ending.worker->exitWith(status);
  logEndOfWorker(ending, " with status " + std::to_string(status));
  report();
}

void Unit::crashWorker(int number) {
  const NumberedWorker ending = worker(number);
  ending.worker->dieBy(SIGKILL);
  logEndOfWorker(ending, " by signal " + std::to_string(SIGKILL));
  report();
}

void Unit::awaitEndOfWorker(int number) {
  if (number < 1 || number > workersStarted_) {
    throw sim::Error("no worker #" + std::to_string(number) + " was started");
  }
  const Workers all = workers_;
  for (const NumberedWorker& each : all) {
    if (each.number == number) {
      logEndOfWorker(each, "");
    }
  }
  report();
}

NumberedWorker Unit::worker(int number) const {
  const auto found = std::find_if(workers_.begin(), workers_.end(),
                                  [number](const NumberedWorker& each) { return each.number == number; });
  if (found == workers_.end()) {
    throw sim::Error("no worker #" + std::to_string(number) + " runs");
  }
  return *found;
}

}  // namespace demo
