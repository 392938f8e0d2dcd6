#include "demo/unit.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <regex>

#include "sim/error.h"
#include "sim/recording_views.h"
#include "tools/recorder/device_recording.h"
#include "tools/recorder/recording_input.h"

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
  const sim::DeviceRecording recording = unit_.sysfs.atFreePort(load(identity));
  unit_.sysfs.layOut(recording);
  unit_.sysfs.makeAnnouncedDirectories(recording);
  devices_.emplace(identity, recording);
  send(recording.plugEvents);
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
    if (taken.mapped().owns(worker.device.substr(sizeof "/sys"))) {
      worker.process->exitWith(0);
      logEnd(number, " with status 0: its device has gone");
    }
  }
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
  const int status = number(arguments[1], 255);
  process(number(arguments[0])).exitWith(status);
  logEnd(number(arguments[0]), " with status " + std::to_string(status));
}

void Unit::crashWorker(const Words& arguments) {
  process(number(arguments[0])).dieBy(SIGKILL);
  logEnd(number(arguments[0]), " by signal " + std::to_string(SIGKILL));
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

}  // namespace demo
