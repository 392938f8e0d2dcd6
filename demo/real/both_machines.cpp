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

constexpr const char* port = "5000";
constexpr const char* keys = "desk-17 room-4";
/** Waits, on the far machine, for the next line of its log: a fifo that its shell has open. */
constexpr const char* nextLine = "IFS= read -r line <&9 && echo \"$line\"";
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

BothMachines::BothMachines(Log& log) : log_(log) {
  display_.makeFifo();
  display_.openReader();
  far.read("mkfifo /tmp/far_side.log && exec 9<>/tmp/far_side.log");
}

// Devices are taken out while there are workers to give them back.
BothMachines::~BothMachines() = default;

void BothMachines::startDaemon() {
  sim::writeFile("/vel/quor.conf", "[apps]\nquor_usb_rx_generic = usb_rx_usbip\n");
  sim::writeFile("/etc/default/usb_rx_ctrl", "USB_RX_PORT=0\nUSB_RX_OPTIONS=--debug=ctrl,generic\n");
  callStartScript("start");
}

void BothMachines::deliverLink() {
  linkManagers_.emplace_back();
  linkManagers_.back().send(std::string("transmitter ") + port + " high eth1 " + keys);
}

void BothMachines::startFarSide() {
  far.writeFile("/etc/usbip.keys", keys);
  far.read("chmod 600 /etc/usbip.keys");
  far.read(std::string("usb_tx_usbip --keys=/etc/usbip.keys ") + port +
           " 2>&9 9>&- & echo $! >/tmp/far_side.pid");
  await(writer::farSide, "listening");
}

void BothMachines::stopFarSide() {
  far.read("kill $(cat /tmp/far_side.pid) && wait $(cat /tmp/far_side.pid)");
  report();
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
    waitForNews(writer, deadline);
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

void BothMachines::waitForNews(const std::string& writer, const sim::Deadline& deadline) {
  if (writer == writer::farSide) {
    keep(writer, far.read(nextLine, deadline));
  } else {
    sim::serveBackground(deadline.atMost(0.05));
  }
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
  std::istringstream lines(far.read(std::string("while read -t 0 <&9; do ") + nextLine + "; done"));
  for (std::string line; std::getline(lines, line);) {
    keep(writer::farSide, line);
  }
}

}  // namespace demo
