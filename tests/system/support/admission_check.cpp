#include "system/support/admission_check.h"

#include <ostream>

#include "system/support/daemon_fixture.h"

namespace support {

std::ostream& operator<<(std::ostream& out, const Decision& decision) {
  out << (decision.admitted ? "admitted" : "refused");
  for (const std::string& write : decision.shown) {
    out << ", shown \"" << write << "\"";
  }
  return out;
}

Decision refusedWith(const std::string& line) {
  return {false, {line + "\n"}};
}

void AdmissionCheck::startWith(const std::string& usbSettings, const std::string& linkSpeed) {
  configure(usbSettings);
  startWithoutConfiguration(linkSpeed);
}

void AdmissionCheck::startWithoutConfiguration(const std::string& linkSpeed) {
  unit.startDaemon(commandLine({"--debug=ctrl"}, {"transmitter", "5000", linkSpeed}));
  unit.waitUntilServing();
}

void AdmissionCheck::configure(const std::string& usbSettings) {
  sim::Unit::writeConfig("[usb]\n" + usbSettings);
}

Decision AdmissionCheck::decisionAfter(const std::function<void()>& action) {
  action();
  unit.settle();
  const std::size_t workers = unit.daemon().children().size();
  const bool started = workers > workersBefore_;
  workersBefore_ = workers;
  return {started, unit.display.takeWrites()};
}

}  // namespace support
