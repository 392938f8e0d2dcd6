#include "sim/unit.h"

#include <filesystem>
#include <utility>

#include "sim/contract.h"
#include "sim/error.h"
#include "sim/files.h"
#include "sim/wait.h"

namespace sim {

namespace {

namespace fs = std::filesystem;

constexpr const char* configFile = "/vel/quor.conf";
constexpr const char* controlOption = "--sock=";

constexpr double secondsToOpenDisplay = 1;
constexpr double secondsToEnd = 1;

const UeventPairs usbDevicePairs = {{"SUBSYSTEM", "usb"}, {"DEVTYPE", "usb_device"}};

std::string devpathOf(const std::string& directory) {
  return directory.substr(sizeof("/sys") - 1);
}

/** A device that no setting but the isochronous and speed rules could refuse, and it fulfils those. */
UsbDevice settlingMouse(int number) {
  UsbDevice mouse;
  mouse.name = "9-" + std::to_string(number);
  mouse.parent = "/sys/devices/platform/usb-host.0/usb9";
  mouse.descriptors = mouseDescriptors();
  mouse.product = "Settling Mouse";
  mouse.speed = "12";
  return mouse;
}

}  // namespace

Unit::Unit() {
  installUsualWorkers();
  display.makeFifo();
  display.openReader();
}

Unit::~Unit() {
  endDaemon();
  workers.endAll();
}

void Unit::writeConfig(const std::string& text) {
  writeFile(configFile, text);
}

void Unit::removeConfig() {
  fs::remove(configFile);
}

void Unit::installWorker(const std::string& path) {
  makePrivate(fs::path(path).parent_path());
  installWorkerStandin(path);
}

void Unit::plug(const DeviceRecording& recording) {
  sysfs.layOut(recording);
  for (const RecordedEvent& event : recording.plugEvents) {
    uevents.send(event.datagram);
  }
}

void Unit::unplug(const DeviceRecording& recording) {
  sysfs.remove(recording);
  for (const RecordedEvent& event : recording.unplugEvents) {
    uevents.send(event.datagram);
  }
}

std::string Unit::plug(const UsbDevice& device) {
  std::string directory = sysfs.add(device);
  uevents.add(devpathOf(directory), usbDevicePairs);
  return directory;
}

std::string Unit::plug(const HiddevNode& node) {
  std::string directory = sysfs.add(node);
  uevents.add(devpathOf(directory), {{"SUBSYSTEM", "usb"}});
  return directory;
}

std::string Unit::plug(const ScsiGenericNode& node) {
  std::string directory = sysfs.add(node);
  uevents.add(devpathOf(directory), {{"SUBSYSTEM", "scsi_generic"}});
  return directory;
}

void Unit::unplug(const std::string& directory) {
  sysfs.removeDevice(directory);
  uevents.remove(devpathOf(directory));
}

Daemon& Unit::startDaemon(std::vector<std::string> arguments, const ProcessOptions& options) {
  if (daemonRuns()) {
    throw Error("the unit's daemon runs already");
  }
  daemon_.reset();
  display.forgetWriter();
  daemon_ = std::make_unique<Daemon>(std::move(arguments), options);
  if (display.hasReader()) {
    display.follow(daemon_->pid());
    waitUntilDisplayKnowsItsWriter();
  }
  return *daemon_;
}

void Unit::waitUntilDisplayKnowsItsWriter() {
  const Deadline deadline(secondsToOpenDisplay);
  const Background wakeAtEnd(daemon_->endEvents(), [] {});
  while (!display.isOpened() && daemon_->isRunning() && !deadline.passed()) {
    serveBackground(deadline);
  }
}

Daemon& Unit::daemon() {
  if (!daemon_) {
    throw Error("the unit's daemon was not started");
  }
  return *daemon_;
}

void Unit::waitUnlessEnded(const std::function<void()>& wait) {
  try {
    if (daemonRuns()) {
      wait();
    }
  } catch (const Error&) {
    if (daemonRuns()) {
      throw;
    }
  }
}

bool Unit::daemonLogsEvents() const {
  bool debugs = false;
  bool onStandardError = true;
  for (const std::string& argument : daemon_->arguments()) {
    debugs = debugs || (argument.starts_with("--debug=") && argument.find("ctrl") != std::string::npos);
    onStandardError = argument == "--stderr" || (onStandardError && argument != "--syslog");
  }
  return debugs && onStandardError;
}

std::string Unit::controlPath() const {
  std::string path = LinkManager::usualPath;
  for (const std::string& argument : daemon_->arguments()) {
    if (argument.starts_with(controlOption)) {
      path = argument.substr(std::string(controlOption).size());
    }
  }
  return path;
}

LinkManager Unit::connect(const Deadline& deadline) {
  static_cast<void>(daemon());
  return LinkManager(controlPath(), deadline);
}

void Unit::waitUntilServing(const Deadline& deadline) {
  if (daemonLogsEvents()) {
    daemon().waitForLine(std::string(contract::debug::tag) + contract::debug::hotplugging, deadline);
    return;
  }
  LinkManager client = connect(deadline);
  client.send("?");
  static_cast<void>(client.receiveAll(deadline));
}

void Unit::settle(const Deadline& deadline) {
  const int number = ++settled_;
  if (!daemonLogsEvents()) {
    settleByMouse(settlingMouse(number), deadline);
    return;
  }
  const std::string devpath = "/settle/" + std::to_string(number);
  uevents.send(uevent("settle", devpath));
  daemon().waitForLine(contract::debug::tag + contract::debug::event("settle", devpath), deadline);
}

void Unit::waitUntilReaped(Worker& worker, const Deadline& deadline) {
  worker.waitForEnd(deadline);
  if (daemonRuns() && worker.start.parent == daemon_->pid()) {
    const std::string notice = contract::debug::line(contract::debug::terminated(worker.start.pid));
    waitUntil("the daemon to take notice of the end of a worker", deadline, daemon_->endEvents(),
              [&] { return !daemonRuns() || daemon_->hasLine(notice); });
  }
}

void Unit::settleByMouse(const UsbDevice& mouse, const Deadline& deadline) {
  const std::string directory = plug(mouse);
  Worker& worker = workers.waitForWorkerOf(directory, deadline);
  unplug(directory);
  worker.exitWith(0);
  worker.waitForEnd(deadline);
}

void Unit::endDaemon() noexcept {
  try {
    if (daemonRuns()) {
      const Deadline deadline(secondsToEnd);
      LinkManager last = connect(deadline);
      last.configure();
      last.close();
      static_cast<void>(daemon_->waitForExit(deadline));
    }
  } catch (const std::exception&) {
    // A daemon that does not listen any more is killed when its object goes.
  }
  daemon_.reset();
}

}  // namespace sim
