#include "system/support/admission_check.h"

#include <algorithm>
#include <csignal>
#include <iterator>
#include <ostream>

std::ostream& operator<<(std::ostream& out, const Decision& decision) {
  out << (decision.admitted ? "admitted" : "refused");
  for (const std::string& write : decision.shown) {
    out << ", shown \"" << write << "\"";
  }
  return out;
}

Decision refusedWith(const std::string& line) {
  return {false, {line}};
}

void AdmissionCheck::startWith(const std::string& usbSettings, const std::string& linkSpeed) {
  configure(usbSettings);
  startWithoutConfiguration(linkSpeed);
}

void AdmissionCheck::startWithoutConfiguration(const std::string& linkSpeed) {
  unit.startDaemon({"--debug=ctrl", "transmitter", "5000", linkSpeed});
  unit.waitUntilServing();
}

void AdmissionCheck::configure(const std::string& usbSettings) {
  sim::Unit::writeConfig("[usb]\n" + usbSettings);
}

void AdmissionCheck::hangUp() {
  unit.daemon().signal(SIGHUP);
  unit.settle();
}

Decision AdmissionCheck::decide(const sim::UsbDevice& device) {
  unit.plug(device);
  return decision();
}

Decision AdmissionCheck::decide(const sim::DeviceRecording& recording) {
  unit.plug(recording);
  return decision();
}

Decision AdmissionCheck::decision() {
  unit.settle();
  const std::size_t workers = unit.daemon().children().size();
  const bool started = workers > workersBefore_;
  workersBefore_ = workers;
  return {started, unit.display.takeWrites()};
}

std::vector<std::string> AdmissionCheck::debugLinesOf(const sim::UsbDevice& device) {
  const std::size_t before = unit.daemon().lines().size();
  unit.plug(device);
  unit.settle();
  std::vector<std::string> messages = unit.daemon().messages();
  messages.pop_back();  // the settling event's
  messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
  return messages;
}
