#include "demo/unit.h"

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "sim/error.h"
#include "sim/recording_views.h"
#include "tools/recorder/device_recording.h"

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
  if (!device.starts_with('/') && !contains(sim::recordingNames(), device)) {
    throw sim::Error("there is no recorded device named " + device);
  }
  sim::DeviceRecording recording =
      device.starts_with('/') ? recorder::readRecording(device) : sim::loadRecording(device);
  if (recording.directory.empty()) {
    throw sim::Error(device + " is part of the unit and cannot be plugged");
  }
  return sim::withClassUsbHiddev(recording);
}

void demandMessages(const Words& arguments) {
  const bool debugs = std::any_of(arguments.begin(), arguments.end(), [](const std::string& argument) {
    return argument.starts_with("--debug=") && argument.find("ctrl") != std::string::npos;
  });
  if (!debugs || contains(arguments, "--syslog") ||
      (!contains(arguments, "--stderr") && Unit::configured("usb:log_to_syslog"))) {
    throw sim::Error(
        "the demo shows the daemon's messages: give it --debug=ctrl, and no --syslog; with "
        "usb:log_to_syslog give it --stderr, too");
  }
}

}  // namespace

void Unit::startDaemon(const Words& arguments) {
  if (daemonRuns()) {
    throw sim::Error("the daemon runs already");
  }
  demandMessages(arguments);
  log_.line("daemon", "starts: usb_rx_ctrl " + typed(arguments));
  unit_.startDaemon(arguments);
  following_ = true;
  linesTaken_ = 0;
  awaitDaemon([this] { unit_.waitUntilServing(); });
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
  const sim::DeviceRecording recording = atFreePort(load(identity));
  unit_.sysfs.layOut(recording);
  // A kernel announces nothing that is not there; the recorded trees leave some out.
  for (const sim::RecordedEvent& event : recording.plugEvents) {
    const std::string head = event.datagram.substr(0, event.datagram.find('\0'));
    const std::string directory = "/sys" + head.substr(head.find('@') + 1);
    if (!fs::exists(directory)) {
      unit_.sysfs.makeDirectory(directory);
    }
  }
  devices_.emplace(identity, recording);
  send(recording.plugEvents);
}

/** A port of its own on the bus or hub that the device was recorded on. */
sim::DeviceRecording Unit::atFreePort(const sim::DeviceRecording& recording) const {
  constexpr int portsOfHub = 8;
  constexpr int nodesOfDevice = 2;  // of one kind, at most, among the recordings
  const fs::path directory = recording.directory;
  const std::string recorded = directory.filename();
  for (int number = 1; number <= portsOfHub; ++number) {
    const std::string port = recorded.substr(0, recorded.find_last_of("-.") + 1) + std::to_string(number);
    if (std::none_of(devices_.begin(), devices_.end(), [&](const auto& device) {
          return device.second.directory == directory.parent_path() / port;
        })) {
      return sim::atPort(recording, port, (number - 1) * nodesOfDevice);
    }
  }
  throw sim::Error("all ports of that bus are taken; unplug something first");
}

void Unit::unplug(const std::string& device) {
  const auto taken = devices_.extract(identify(device));
  if (taken.empty()) {
    throw sim::Error(device + " is not plugged in");
  }
  unit_.sysfs.remove(taken.mapped());
  send(taken.mapped().unplugEvents);
  const std::vector<Worker> all = workers_;
  for (const Worker& each : all) {
    if ((each.device + "/").starts_with(taken.mapped().directory + "/")) {
      each.process->exitWith(0);
      logEnd(each, " with status 0: its device has gone");
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

void Unit::deliverLink(const std::string& parameters) {
  demandDaemon();
  log_.line("link", "sends    \"" + parameters + "\"");
  // The former connection lasts until the daemon has heard of the new one: its end would be the daemon's.
  const std::optional<sim::LinkManager> former = std::exchange(linkManager_, unit_.connect());
  linkManager_->send(parameters);
  report();
}

void Unit::askForLink() {
  demandDaemon();
  log_.line("link", "sends    \"?\"");
  queries_.push_back(unit_.connect());
  queries_.back().send("?");
  report();
  if (!queries_.empty()) {
    log_.event("link", "is kept waiting for an answer");
  }
}

void Unit::hangUp() {
  demandDaemon();
  if (!linkManager_) {
    throw sim::Error("there is no link manager: nobody has delivered link parameters yet");
  }
  log_.line("link", "closes its connection");
  linkManager_.reset();
  unit_.daemon().waitForExit();
  report();
}

void Unit::endWorker(int number, int status) {
  const Worker ending = worker(number);
  ending.process->exitWith(status);
  logEnd(ending, " with status " + std::to_string(status));
  report();
}

void Unit::crashWorker(int number) {
  const Worker ending = worker(number);
  ending.process->dieBy(SIGKILL);
  logEnd(ending, " by signal " + std::to_string(SIGKILL));
  report();
}

void Unit::awaitEndOfWorker(int number) {
  if (number > workersStarted_ || std::any_of(workers_.begin(), workers_.end(), [number](const Worker& each) {
        return each.number == number;
      })) {
    logEnd(worker(number), "");
  }
  report();
}

Worker Unit::worker(int number) const {
  const auto found = std::find_if(workers_.begin(), workers_.end(),
                                  [number](const Worker& each) { return each.number == number; });
  if (found == workers_.end()) {
    throw sim::Error("no worker #" + std::to_string(number) + " runs");
  }
  return *found;
}

}  // namespace demo
