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
  for (const char* name : {"usb_rx_keyboard", "usb_rx_scsi", "usb_rx_generic"}) {
    sim::installWorkerStandin(std::string("/sim/bin/") + name);
  }
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
  waitUntilDisplayKnowsItsWriter();
  daemon->waitForLine("[rx_ctrl] hotplugging new devices");
  return *daemon;
}

void ReceiverUnit::waitUntilDisplayKnowsItsWriter() {
  const sim::Background wakeAtEnd(daemon->endEvents(), [] {});
  sim::waitUntil("the daemon at its display", {},
                 [this] { return display.isOpened() || !daemon->isRunning(); });
}

void ReceiverUnit::settle() {
  sim::writeFile(std::string("/sys") + settlingDevice + "/uevent", "change");
  daemon->waitForLine(std::string("[rx_ctrl] change ") + settlingDevice);
}

void ReceiverUnit::settleEverySource() {
  settle();
  settle();  // the loop has come round to the uevents again
}

sim::LinkManager& ReceiverUnit::deliver(const std::string& speed) {
  managers_.push_back(std::make_unique<sim::LinkManager>());
  sim::LinkParameters parameters;
  parameters.speed = speed;
  managers_.back()->configure(parameters);
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

sim::Worker& ReceiverUnit::workerOf(const std::string& directory) {
  sim::Worker& worker = workers.waitForWorker();
  EXPECT_EQ(worker.device(), directory);
  return worker;
}

Lines genericWorker(const std::string& directory, const Lines& options) {
  Lines arguments{"usb_rx_generic"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.insert(arguments.end(), {"eth1", "transmitter", "5000", directory});
  return arguments;
}

Lines storageWorker(const std::string& node) {
  return {"usb_rx_scsi", "eth1", "transmitter", "5002", node};
}

}  // namespace guest
