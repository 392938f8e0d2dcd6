#include "kernel/guest/receiver_unit.h"

#include <filesystem>

#include "sim/files.h"
#include "sim/wait.h"

namespace guest {

namespace {

namespace fs = std::filesystem;

constexpr const char* configFile = "/vel/quor.conf";

/** A device of which the daemon takes notice, but no more. */
constexpr const char* settlingDevice = "/devices/virtual/mem/null";

}  // namespace

ReceiverUnit::ReceiverUnit() {
  sim::installUsualWorkers();
  display.makeFifo();
  display.openReader();
}

ReceiverUnit::~ReceiverUnit() {
  daemon.reset();
  workers.endAll();
  display.removeFifo();
  fs::remove(configFile);
}

void ReceiverUnit::configure(const std::string& usbSettings) {
  sim::writeFile(configFile, "[usb]\n" + usbSettings);
}

sim::Daemon& ReceiverUnit::start(const Lines& options, const std::string& speed) {
  Lines arguments{"--debug=ctrl"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.insert(arguments.end(), {"transmitter", "5000", speed});
  daemon = std::make_unique<sim::Daemon>(arguments);
  display.follow(daemon->pid());
  const sim::Background wakeAtEnd(daemon->endEvents(), [] {});
  sim::waitUntil("the daemon at its display", {},
                 [this] { return display.isOpened() || !daemon->isRunning(); });
  daemon->waitForLine(std::string(contract::debug::tag) + contract::debug::hotplugging);
  return *daemon;
}

void ReceiverUnit::settle() {
  sim::writeFile(std::string("/sys") + settlingDevice + "/uevent", "change");
  daemon->waitForLine(contract::debug::tag + contract::debug::event("change", settlingDevice));
}

void ReceiverUnit::settleEverySource() {
  settle();
  settle();  // the loop has come round to the uevents again
}

sim::LinkManager& ReceiverUnit::deliver(const std::string& speed) {
  managers_.push_back(std::make_unique<sim::LinkManager>());
  managers_.back()->configure({.speed = speed});
  settleEverySource();
  return *managers_.back();
}

PluggedDevice ReceiverUnit::plug(const EmulatedDevice& device, const Socket& socket) {
  PluggedDevice plugged = desk.plug(device, socket);
  settle();
  return plugged;
}

void ReceiverUnit::takeOut(const PluggedDevice& device) {
  desk.takeOut(device);
  settle();
}

std::string ReceiverUnit::storageNode() {
  std::string directory = desk.events.waitFor(storageNodeAdded).directory;
  settle();
  return directory;
}

namespace {

Lines genericArguments(const PluggedDevice& device, const Lines& options) {
  Lines arguments{"usb_rx_generic"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.insert(arguments.end(), {"eth1", "transmitter", "5000", device.directory});
  return arguments;
}

Lines storageArguments(const std::string& node) {
  return {"usb_rx_scsi", "eth1", "transmitter", "5002", node};
}

}  // namespace

sim::Worker& ReceiverUnit::genericWorkerOf(const PluggedDevice& device, const Lines& options) {
  sim::Worker& worker = workers.waitForWorker();
  EXPECT_EQ(worker.start.arguments, genericArguments(device, options));
  return worker;
}

sim::Worker& ReceiverUnit::storageWorkerOf(const std::string& node) {
  sim::Worker& worker = workers.waitForWorker();
  EXPECT_EQ(worker.start.arguments, storageArguments(node));
  return worker;
}

void ReceiverUnit::expectGenericAndStorageWorker(const PluggedDevice& device, const std::string& node) {
  EXPECT_EQ(workers.waitForWorkerOf(device.directory).start.arguments, genericArguments(device, {}));
  EXPECT_EQ(workers.waitForWorkerOf(node).start.arguments, storageArguments(node));
}

void ReceiverUnit::expectServed(const std::set<std::string>& devices) {
  EXPECT_EQ(daemon->children().size(), devices.size());
  std::set<std::string> served;
  while (served.size() < devices.size() && served.insert(workers.waitForWorker().device()).second) {
  }
  EXPECT_EQ(served, devices);
}

bool ReceiverUnit::hasMessage(const std::string& text) const {
  return daemon->hasLine(contract::debug::tag + text);
}

std::string devpathOf(const std::string& directory) {
  return directory.substr(sizeof("/sys") - 1);
}

std::string attached(const EmulatedDevice& device) {
  return contract::display::attached(device.product) + "\n";
}

}  // namespace guest
