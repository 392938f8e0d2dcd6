#include "soak/model.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <utility>

#include "sim/contract.h"
#include "soak/shown_device.h"

namespace soak {

namespace {

namespace fs = std::filesystem;
namespace debug = contract::debug;
namespace display = contract::display;

constexpr unsigned toleratedRestarts = 8;

std::string devpathOf(const std::string& device) {
  return device.substr(std::string("/sys").size());
}

std::vector<std::string> splitAt(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream rest(text);
  for (std::string part; std::getline(rest, part, separator);) {
    parts.push_back(part);
  }
  return parts;
}

std::vector<std::string> workerLog(bool debugs) {
  return debugs ? std::vector<std::string>{"--debug", "--stderr"} : std::vector<std::string>{};
}

void append(std::vector<std::string>& list, const std::vector<std::string>& more) {
  list.insert(list.end(), more.begin(), more.end());
}

}  // namespace

Model::Model(const Options& options, Configuration onDisk)
    : options_(options),
      link_(options.link),
      onDisk_(std::move(onDisk)),
      timeout_(onDisk_.connectFailTimeout) {
  load();
}

void Model::log(const std::string& text) {
  for (const std::string& line : splitAt(debug::line(text), '\n')) {
    expected.log.push_back(line);
  }
}

void Model::load() {
  loaded_ = onDisk_.form == Configuration::Form::readable ? onDisk_ : Configuration();
  if (onDisk_.form == Configuration::Form::missing) {
    expected.standardOutput += contract::error::cannotOpenConfig(contract::configurationPath);
  }
  if (onDisk_.form == Configuration::Form::broken) {
    expected.log.emplace_back(contract::error::cannotLoadConfig(contract::configurationPath));
  }
}

void Model::event(const std::string& action, const std::string& devpath) {
  log(debug::event(action, devpath));
  if (action != "add") {
    return;
  }
  std::error_code missing;
  const fs::path device = fs::canonical("/sys" + devpath, missing);
  try {
    if (missing || !fs::is_directory(device)) {
      throw Unreadable();
    }
    added(device);
  } catch (const Unreadable&) {
    log(debug::eventIgnored);
  }
}

bool Model::isServed(const std::string& device) const {
  const auto serves = [&](const auto& worker) { return worker.second == device; };
  const auto starts = [&](const Launch& launch) { return launch.device == device; };
  return std::ranges::any_of(workers_, serves) || std::ranges::any_of(expected.launches, starts);
}

void Model::added(const std::string& device) {
  if (isServed(device)) {
    log(debug::alreadyHandled);
    return;
  }
  const std::string subsystem = subsystemOf(device);
  log(debug::subsystem(subsystem));
  if (subsystem == "usb") {
    addedUsbNode(device);
  } else if (subsystem == "scsi_generic" && options_.disks) {
    log(debug::scsiGeneric);
    launchDisk(device);
  }
}

void Model::addedUsbNode(const std::string& node) {
  const std::optional<std::string> text = attribute(node, "uevent");
  const bool isHiddev = fs::path(node).filename().string().starts_with("hiddev");
  if (!text && isHiddev && options_.keyboards) {
    log(debug::hid);
    launchKeyboard(node);
  } else if (!text) {
    log(debug::undetermined);
  } else if (text->find("DEVTYPE=usb_device") != std::string::npos) {
    addedUsbDevice(node);
  }
}

void Model::addedUsbDevice(const std::string& device) {
  const std::optional<std::string> deviceClass = attribute(device, "bDeviceClass");
  if (!deviceClass) {
    log(debug::undetermined);
  } else if (std::strtoul(deviceClass->c_str(), nullptr, 16) == 9) {
    log(debug::hub);
  } else if (options_.keyboards && showsKeyboard(device)) {
    log(debug::keyboard);
  } else if (options_.disks && showsDisk(device)) {
    log(debug::storage);
  } else if (admits(device)) {
    log(debug::generic);
    launchGeneric(device);
  } else {
    log(debug::unsupported);
  }
}

bool Model::admits(const std::string& device) {
  if (reloadRequested_) {
    reloadRequested_ = false;
    load();
  }
  const Admission admission = admissionOf(device, loaded_, link_.speed);
  if (admission.looksForIsochronous) {
    log(admission.hasIsochronous ? debug::isochronousFound : debug::noIsochronousFound);
  }
  if (admission.unreadable) {
    throw Unreadable();
  }
  if (!admission.message.empty()) {
    expected.display.push_back(admission.message + "\n");
  }
  return admission.admitted;
}

std::vector<std::string> Model::toTransmitter(int portOffset) const {
  return {link_.interface, link_.host, std::to_string(std::stoi(link_.port) + portOffset)};
}

void Model::launch(const std::string& device, std::vector<std::string> arguments, bool endsWithDaemon) {
  expected.launches.push_back({device, std::move(arguments), endsWithDaemon});
}

void Model::launchDisk(const std::string& node) {
  log(debug::startingScsi(node));
  std::vector<std::string> arguments{"usb_rx_scsi"};
  append(arguments, workerLog(options_.debugScsi));
  append(arguments, toTransmitter(2));
  arguments.push_back(node);
  launch(node, arguments, false);
  const std::string vendor = attribute(node + "/device", "vendor").value_or("");
  const std::string model = attribute(node + "/device", "model").value_or(display::unnamedDevice);
  expected.display.push_back(display::attached(vendor + " " + model) + "\n");
}

void Model::launchKeyboard(const std::string& node) {
  const std::string number = neededAttribute(node, "dev");
  log(debug::startingKeyboard(node, number));
  std::vector<std::string> arguments{"usb_rx_keyboard"};
  append(arguments, workerLog(options_.debugKeyboard));
  append(arguments, toTransmitter(1));
  append(arguments, splitAt(number, ':'));
  launch(node, arguments, false);
  expected.display.push_back(display::attached(nameOf(node + "/device/..")) + "\n");
}

void Model::launchGeneric(const std::string& device) {
  genericStarted_ = genericStarted_ || !attachBlocked_;
  log(debug::startingGeneric(device));
  std::vector<std::string> arguments{loaded_.genericProgram};
  append(arguments, workerLog(options_.debugGeneric));
  if (!link_.inkey.empty() && !link_.outkey.empty()) {
    append(arguments, {"--keys", link_.inkey, link_.outkey});
  }
  if (options_.socketPath != sim::LinkManager::usualPath) {
    arguments.push_back("--sock=" + options_.socketPath);
  }
  if (attachBlocked_) {
    append(arguments, {"--timeout", timeout_});
  }
  append(arguments, toTransmitter(0));
  arguments.push_back(device);
  launch(device, arguments, true);
  if (hasControlConnection_ && !attachBlocked_) {
    expected.display.push_back(display::attached(nameOf(device)) + "\n");
  }
}

void Model::ended(pid_t worker, const sim::ProcessEnd& end) {
  log(debug::terminated(worker));
  log(end.signal ? debug::bySignal(*end.signal) : debug::withStatus(*end.status));
  const std::string device = workers_.at(worker);
  workers_.erase(worker);
  if (end.status == 5) {
    expected.display.push_back(display::cannotBeConfigured(nameOf(device)) + "\n");
    return;
  }
  if (end.status == 28) {
    log(debug::waitedInVain);
  } else {
    countFailure();
  }
  if (fs::exists(device)) {
    restart(device);
  } else {
    log(debug::gone(device));
    restartCount_ = 0;
  }
}

// See randomTimeout(): a period is endless or nothing.
void Model::countFailure() {
  const bool hasPeriod = std::strtol(timeout_.c_str(), nullptr, 10) > 0;
  if (hasPeriod && genericStarted_) {
    ++restartCount_;
  } else {
    restartCount_ = 0;
    attachBlocked_ = false;
  }
}

void Model::restart(const std::string& device) {
  log(debug::stillPresent(device));
  log(debug::stillPresent(device));
  log(debug::restarting(device, restartCount_));
  if (restartCount_++ > toleratedRestarts) {
    attachBlocked_ = true;
    expected.display.push_back(display::noTransmitter(nameOf(device)) + "\n");
  }
  event("add", devpathOf(device));
}

void Model::answered(int client) {
  std::vector<std::string> fields = splitAt(lastRequest_, ' ');
  std::string shown;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    shown += (i == 0 ? "" : " ") + (i < 4 ? fields[i] : "***");
  }
  log(debug::immediateSend(shown + (lastRequest_.ends_with(' ') ? " ***" : ""), client));
}

std::optional<std::string> Model::refusalOf(const std::string& line) {
  std::vector<std::string> fields = splitAt(line, ' ');
  fields.resize(2);
  const std::string& port = fields[1];
  const bool isNumber = !port.empty() && port.size() <= 5 && std::ranges::all_of(port, ::isdigit);
  return isNumber && std::stoi(port) <= 65535 ? std::nullopt
                                              : std::optional<std::string>(contract::error::badNumber);
}

std::optional<std::string> Model::link(const std::string& line, std::vector<pid_t>& terminated) {
  const std::string oldSpeed = link_.speed;
  std::vector<std::string> fields = splitAt(line, ' ');
  fields.resize(6);
  link_.host = fields[0];
  link_.port = std::to_string(std::stoi(fields[1]));
  link_.speed = fields[2];
  link_.interface = fields[3];
  link_.inkey = fields[4].empty() ? link_.inkey : fields[4];
  link_.outkey = fields[5].empty() ? link_.outkey : fields[5];
  lastRequest_ = line;
  hasControlConnection_ = true;
  const bool droppedToFull = link_.speed != oldSpeed && link_.speed == "full";
  for (const auto& [worker, device] : workers_) {
    const std::optional<std::string> speed = attribute(device, "speed");
    if (droppedToFull && !speed) {
      return contract::error::openFailed(contract::reason::noSuchFile, device + "/speed");
    }
    if (droppedToFull && speed == "480") {
      terminated.push_back(worker);
    } else {
      expected.display.push_back(display::attached(nameOf(device)) + "\n");
    }
  }
  return std::nullopt;
}

}  // namespace soak
