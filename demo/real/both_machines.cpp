#include "demo/real/both_machines.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "sim/contract.h"
#include "sim/deadline.h"
#include "sim/error.h"
#include "sim/files.h"
#include "sim/process.h"
#include "sim/wait.h"

namespace demo {

namespace {

constexpr const char* keys = "desk-17 room-4";
constexpr const char* keyFile = "/etc/usbip.keys";
constexpr const char* startScript = "/etc/init.d/usb_rx_ctrl";

/** The daemon says more than fits here: what becomes of devices and workers is kept. */
bool isOfInterest(const std::string& message) {
  static const std::array<std::string, 6> parts{"starting usb_rx_generic",    "exited with status",
                                                "still present; restarting",  "has gone",
                                                "Isochronous endpoint found", "exited due to timeout"};
  return std::ranges::any_of(
      parts, [&](const std::string& part) { return message.find(part) != std::string::npos; });
}

void callStartScript(const std::string& command) {
  const std::string output = "/tmp/start_script";
  sim::writeFile(output, "");
  const sim::ProcessEnd end = sim::runProcess({startScript, command}, {}, output, output);
  if (end != sim::ProcessEnd::exited(0)) {
    throw sim::Error(startScript + (" " + command) + " fails: " + sim::readFile(output));
  }
}

}  // namespace

BothMachines::BothMachines(Log& log) : farProgram_(far), log_(log) {
  display_.makeFifo();
  display_.openReader();
}

// Devices are taken out while there are workers to give them back.
BothMachines::~BothMachines() = default;

void BothMachines::startDaemon() {
  sim::writeFile("/vel/quor.conf", "[apps]\nquor_usb_rx_generic = usb_rx_usbip\n");
  sim::writeFile("/etc/default/usb_rx_ctrl", "USB_RX_PORT=0\nUSB_RX_OPTIONS=--debug=ctrl,generic\n");
  callStartScript("start");
}

void BothMachines::deliverLink() {
  const std::string parameters =
      "transmitter " + std::to_string(pair::FarProgram::port) + " high eth1 " + keys;
  linkManager_.emplace();
  linkManager_->send(parameters);
  sim::LinkManager query;  // it is served behind the other
  query.send("?");
  if (const std::string answer = query.receive(); answer != parameters) {
    throw sim::Error("the daemon has not taken the link parameters: " + answer);
  }
}

void BothMachines::startFarSide() {
  far.writeFile(keyFile, keys);
  far.read(std::string("chmod 600 ") + keyFile);
  farLines_ = 0;
  unawaited_[writer::farSide].clear();
  farProgram_.start(std::string("--keys=") + keyFile);
  report();
}

void BothMachines::stopFarSide() {
  report();
  const int status = farProgram_.stop();
  if (status != 0) {
    throw sim::Error("the far side has ended with status " + std::to_string(status));
  }
}

std::string BothMachines::await(const std::string& writer, std::string_view text) {
  const sim::Deadline deadline;
  for (;;) {
    report();
    if (std::optional<std::string> line = take(writer, text)) {
      return *line;
    }
    if (deadline.passed()) {
      throw sim::Error("the " + writer + " has written no line with \"" + std::string(text) + "\"");
    }
    sim::serveBackground(deadline.atMost(0.02));
  }
}

/** The first line of this kind; those that the writer has written before it count no more. */
std::optional<std::string> BothMachines::take(const std::string& writer, std::string_view text) {
  std::deque<std::string>& lines = unawaited_[writer];
  const auto found = std::ranges::find_if(
      lines, [&](const std::string& line) { return line.find(text) != std::string::npos; });
  if (found == lines.end()) {
    return std::nullopt;
  }
  const std::string line = *found;
  lines.erase(lines.begin(), found + 1);
  return line;
}

void BothMachines::report() {
  reportSyslog();
  reportDisplay();
  reportFarSide();
}

void BothMachines::keep(const std::string& writer, const std::string& line) {
  unawaited_[writer].push_back(line);
  log_.line(writer, line);
}

void BothMachines::reportSyslog() {
  constexpr int debugging = 7;
  sim::serveBackground();
  for (const sim::SyslogMessage& message : syslog_.takeMessages()) {
    if (message.tag == "usb_rx_ctrl" && isOfInterest(message.text)) {
      keep(writer::daemon, message.text);
    } else if (message.tag == "usb_rx_usbip" && message.severity() != debugging) {
      keep(writer::worker, message.text);
    }
  }
}

void BothMachines::reportDisplay() {
  for (const std::string& text : display_.takeWrites()) {
    keep(writer::display, text.substr(0, text.find_last_not_of('\n') + 1));
  }
}

void BothMachines::reportFarSide() {
  if (!farProgram_.isRunning()) {
    return;
  }
  std::istringstream lines(farProgram_.log());
  std::size_t count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    if (count >= farLines_) {
      keep(writer::farSide, line);
    }
  }
  farLines_ = count;
}

}  // namespace demo
