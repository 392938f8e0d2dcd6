#include "demo/stage.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <optional>

#include "demo/configurator.h"
#include "sim/error.h"

namespace demo {

namespace {

bool asksForDebugMessages(const std::string& argument) {
  return argument.starts_with("--debug=") && argument.find("ctrl") != std::string::npos;
}

void demandMessages(const std::vector<std::string>& arguments) {
  if (std::none_of(arguments.begin(), arguments.end(), asksForDebugMessages) ||
      std::find(arguments.begin(), arguments.end(), "--syslog") != arguments.end()) {
    throw sim::Error("the demo shows the daemon's messages: give it --debug=ctrl, and no --syslog");
  }
}

}  // namespace

void Stage::startDaemon(const std::vector<std::string>& arguments) {
  if (daemonRuns()) {
    throw sim::Error("the daemon runs already");
  }
  demandMessages(arguments);
  CommandLine command = {"usb_rx_ctrl"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  chronicle_.daemonStarts(command);
  unit_.startDaemon(arguments);
  reporter_.followDaemon();
  try {
    unit_.waitUntilServing();
  } catch (const sim::Error&) {
    if (daemonRuns()) {
      throw;
    }
  }
  reporter_.report();
}

void Stage::demandDaemon() {
  if (!daemonRuns()) {
    throw sim::Error("the daemon does not run");
  }
}

void Stage::plug(const std::string& name, const std::string& port) {
  const sim::DeviceRecording& recording = desk_.plugIn(name, port);
  unit_.sysfs.layOut(recording);
  makeWhatIsAnnounced(recording.plugEvents);
  send(recording.plugEvents);
}

/** A kernel announces nothing that is not there; the recorded trees leave some out. */
void Stage::makeWhatIsAnnounced(const std::vector<sim::RecordedEvent>& events) {
  for (const sim::RecordedEvent& event : events) {
    const std::string directory = "/sys" + UeventText::of(event.datagram).devpath;
    if (!std::filesystem::exists(directory)) {
      unit_.sysfs.makeDirectory(directory);
    }
  }
}

void Stage::unplug(const std::string& name) {
  const sim::DeviceRecording recording = desk_.takeOut(name);
  unit_.sysfs.remove(recording);
  send(recording.unplugEvents);
  for (const NumberedWorker& worker : reporter_.roster().of(recording.directory)) {
    worker.worker->exitWith(0);
    reporter_.workerEnded(worker, " with status 0: its device has gone");
  }
  reporter_.report();
}

void Stage::send(const std::vector<sim::RecordedEvent>& events) {
  for (const sim::RecordedEvent& event : events) {
    unit_.uevents.send(event.datagram);
    reporter_.ueventSent(UeventText::of(event.datagram));
  }
  reporter_.allUeventsSent();
  reporter_.report();
}

void Stage::changePolicy(const PolicyChanges& changes) {
  for (const CommandLine& command : policy_.change(changes)) {
    runConfigurator(command);
    chronicle_.configuratorRuns(command);
  }
  chronicle_.config("/vel/quor.conf says: " + policy_.summary());
  if (daemonRuns()) {
    unit_.daemon().signal(SIGHUP);
    chronicle_.config("SIGHUP tells the daemon to read it before the next device");
  }
  reporter_.report();
}

void Stage::deliverLink(const std::string& parameters) {
  demandDaemon();
  chronicle_.linkSends(parameters);
  // The former connection lasts until the daemon has heard of the new one: its end would be the daemon's.
  const std::optional<sim::LinkManager> former = clients_.deliver(unit_.connect(), parameters);
  reporter_.report();
}

void Stage::askForLink() {
  demandDaemon();
  chronicle_.linkSends("?");
  clients_.ask(unit_.connect());
  reporter_.report();
  if (clients_.unanswered() > 0) {
    chronicle_.link("is kept waiting for an answer");
  }
}

void Stage::hangUp() {
  demandDaemon();
  if (!clients_.hasDelivered()) {
    throw sim::Error("there is no link manager: nobody has delivered link parameters yet");
  }
  chronicle_.link("closes its connection");
  clients_.closeDelivering();
  unit_.daemon().waitForExit();
  reporter_.report();
}

void Stage::endWorker(int number, int status) {
  const NumberedWorker worker = reporter_.roster().find(number);
  worker.worker->exitWith(status);
  reporter_.workerEnded(worker, " with status " + std::to_string(status));
  reporter_.report();
}

void Stage::crashWorker(int number) {
  const NumberedWorker worker = reporter_.roster().find(number);
  worker.worker->dieBy(SIGKILL);
  reporter_.workerEnded(worker, " by signal " + std::to_string(SIGKILL));
  reporter_.report();
}

void Stage::awaitEndOfWorkersOf(const std::string& directory) {
  for (const NumberedWorker& worker : reporter_.roster().of(directory)) {
    reporter_.workerEnded(worker, "");
  }
  reporter_.report();
}

}  // namespace demo
