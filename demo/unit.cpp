#include "demo/unit.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <ranges>
#include <regex>

#include "sim/error.h"
#include "sim/recording_views.h"
#include "tools/recorder/device_recording.h"

namespace demo {

namespace {

namespace fs = std::filesystem;

/** What identifies a device: its name, or the full path of its folder. */
std::string identify(const std::string& device) {
  const bool isName = device.find('/') == std::string::npos;
  return isName ? device : (fs::weakly_canonical(device) / "").parent_path().string();
}

sim::DeviceRecording load(const std::string& device) {
  const bool isPath = device.starts_with('/');
  if (!isPath && std::ranges::count(sim::recordingNames(), device) == 0) {
    throw sim::Error("there is no recorded device named " + device);
  }
  sim::DeviceRecording recording = isPath ? recorder::readRecording(device) : sim::loadRecording(device);
  if (recording.directory.empty()) {
    throw sim::Error(device + " is part of the unit and cannot be plugged");
  }
  return sim::withClassUsbHiddev(recording);
}

int number(const std::string& word, int largest = 999999) {
  std::smatch digits;
  if (!std::regex_match(word, digits, std::regex("#?([0-9]{1,6})")) || std::stoi(digits[1]) > largest) {
    throw sim::Error("\"" + word + "\" is no number from 0 to " + std::to_string(largest));
  }
  return std::stoi(digits[1]);
}

}  // namespace

void Unit::startDaemon(const Words& arguments) {
  if (daemonRuns()) {
    throw sim::Error("the daemon runs already");
  }
  if (arguments.empty()) {
    return startDaemon(wordsOf("--debug=ctrl,generic,keyboard,scsi --class=all transmitter 5000 high"));
  }
  const bool isDebugged = std::regex_search(typed(arguments), std::regex("--debug=\\S*ctrl"));
  const bool isOnStandardError =
      std::ranges::count(arguments, "--stderr") > 0 || !configured("usb:log_to_syslog");
  if (!isDebugged || !isOnStandardError || std::ranges::count(arguments, "--syslog") > 0) {
    throw sim::Error(
        "the demo shows the daemon's messages: give it --debug=ctrl, and no --syslog; with "
        "usb:log_to_syslog give it --stderr, too");
  }
  log_.line("daemon", "starts: usb_rx_ctrl " + typed(arguments));
  daemon_ = &unit_.startDaemon(arguments);
  linesRead_ = 0;
  awaitDaemon(&sim::Unit::waitUntilServing);
}

void Unit::demandDaemon() const {
  if (!daemonRuns()) {
    throw sim::Error("the daemon does not run");
  }
}

void Unit::plug(const Words& arguments) {
  const std::string identity = identify(arguments[0]);
  if (devices_.contains(identity)) {
    throw sim::Error(arguments[0] + " is plugged in already");
  }
  const sim::DeviceRecording recording = atFreePort(load(identity));
  unit_.sysfs.layOut(recording);
  // A kernel announces nothing that is not there; the recorded trees leave some out.
  for (const sim::RecordedEvent& event : recording.plugEvents) {
    const std::string head = event.datagram.substr(0, event.datagram.find('\0'));
    const std::string directory = "/sys" + head.substr(head.find('@') + 1);
    unit_.sysfs.makeDirectory(directory);
  }
  devices_.emplace(identity, recording);
  send(recording.plugEvents);
}

/** A port of its own on the bus or hub that the device was recorded on. */
sim::DeviceRecording Unit::atFreePort(const sim::DeviceRecording& recording) const {
  constexpr int portsOfHub = 8;
  constexpr int nodesOfDevice = 2;  // of one kind, at most, among the recordings
  const std::string place = recording.directory.substr(0, recording.directory.find_last_of("-.") + 1);
  for (int number = 1; number <= portsOfHub; ++number) {
    const std::string directory = place + std::to_string(number);
    if (std::ranges::none_of(devices_,
                             [&](const auto& each) { return each.second.directory == directory; })) {
      return sim::atPort(recording, fs::path(directory).filename(), (number - 1) * nodesOfDevice);
    }
  }
  throw sim::Error("all ports of that bus are taken; unplug something first");
}

/** Its workers end, as real ones do when their device has gone. */
void Unit::unplug(const Words& arguments) {
  const auto taken = devices_.extract(identify(arguments[0]));
  if (taken.empty()) {
    throw sim::Error(arguments[0] + " is not plugged in");
  }
  unit_.sysfs.remove(taken.mapped());
  send(taken.mapped().unplugEvents);
  const std::map<int, Worker> all = workers_;
  for (const auto& [number, worker] : all) {
    if ((worker.device + "/").starts_with(taken.mapped().directory + "/")) {
      worker.process->exitWith(0);
      logEnd(number, " with status 0: its device has gone");
    }
  }
}

Words Unit::pluggedIn() const {
  const auto devices = std::views::keys(devices_);
  return {devices.begin(), devices.end()};
}

void Unit::deliverLink(const Words& arguments) {
  if (arguments[0].size() < 2) {
    throw sim::Error("a message of one character is a query; say query");
  }
  demandDaemon();
  log_.line("link", "sends    \"" + arguments[0] + "\"");
  // The former connection lasts until the daemon has heard of the new one: its end would be the daemon's.
  const std::optional<sim::LinkManager> former = std::exchange(linkManager_, unit_.connect());
  linkManager_->send(arguments[0]);
  report();
}

void Unit::askForLink(const Words& /*arguments*/) {
  demandDaemon();
  log_.line("link", "sends    \"?\"");
  queries_.push_back(unit_.connect());
  queries_.back().send("?");
  report();
  if (!queries_.empty()) {
    log_.event("link", "is kept waiting for an answer");
  }
}

void Unit::hangUp(const Words& /*arguments*/) {
  demandDaemon();
  if (!linkManager_) {
    throw sim::Error("there is no link manager: nobody has delivered link parameters yet");
  }
  log_.line("link", "closes its connection");
  linkManager_.reset();
  daemon_->waitForExit();
}

void Unit::endWorker(const Words& arguments) {
  const int worker = number(arguments[0]);
  const int status = number(arguments[1], 255);
  process(worker).exitWith(status);
  logEnd(worker, " with status " + std::to_string(status));
}

void Unit::crashWorker(const Words& arguments) {
  const int worker = number(arguments[0]);
  process(worker).dieBy(SIGKILL);
  logEnd(worker, " by signal " + std::to_string(SIGKILL));
}

void Unit::awaitEndOfWorker(const Words& arguments) {
  const int worker = number(arguments[0]);
  if (worker > workersStarted_ || workers_.contains(worker)) {
    logEnd(worker, "");
  }
}

sim::Worker& Unit::process(int worker) const {
  const auto found = workers_.find(worker);
  if (found == workers_.end()) {
    throw sim::Error("no worker #" + std::to_string(worker) + " runs");
  }
  return *found->second.process;
}

std::string Unit::nameOf(int worker) const {
  return "#" + std::to_string(worker) + " " + process(worker).program();
}

}  // namespace demo
