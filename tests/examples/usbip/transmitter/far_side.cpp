#include "examples/usbip/transmitter/far_side.h"

#include <sys/wait.h>

#include <csignal>
#include <utility>

#include "sim/error.h"
#include "sim/files.h"
#include "sim/process_table.h"
#include "sim/program.h"
#include "sim/wait.h"
#include "support/eventually.h"

namespace examples {
namespace {

const std::string prefix = "usb_tx_usbip: ";

std::vector<std::string> commandFor(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = sim::commandOf("SIM_USB_TX_USBIP", USB_TX_USBIP_PROGRAM);
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

std::vector<std::string> withPort(std::vector<std::string> arguments) {
  arguments.emplace_back(farSidePort);
  return arguments;
}

std::string nextFile(const std::string& name) {
  static int count = 0;
  return "/sim/far-side-" + std::to_string(++count) + "-" + name;
}

}  // namespace

FarSide::FarSide(const std::vector<std::string>& arguments, const sim::ProcessOptions& options)
    : errorFile_(nextFile("stderr")),
      standardError_(errorFile_),
      stateReport_([this] { return "the far side has logged:\n" + log(); }) {
  const std::string output = nextFile("stdout");
  sim::writeFile(output, "");
  pid_ = sim::startProcess(commandFor(withPort(arguments)), options, output, errorFile_);
  process_ = sim::ProcessHandle(pid_);
}

FarSide::~FarSide() {
  if (isRunning()) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
}

void FarSide::signal(int number) const {
  process_.signal(number);
}

bool FarSide::isRunning() {
  int status = 0;
  if (!end_ && ::waitpid(pid_, &status, WNOHANG) == pid_) {
    end_ = sim::ProcessEnd::of(status);
  }
  return !end_;
}

sim::ProcessEnd FarSide::waitForExit(const sim::Deadline& deadline) {
  sim::waitUntil("the end of the far side", deadline, process_.endEvents(), [this] { return !isRunning(); });
  return *end_;
}

std::vector<int> FarSide::openDescriptors() const {
  return sim::openDescriptorsOf(pid_);
}

void FarSide::waitForDescriptors(const std::vector<int>& expected) const {
  support::eventually("the far side's descriptors to be as before",
                      [this, &expected] { return openDescriptors() == expected; });
}

void FarSide::waitUntilListening() {
  const std::string line = nextLine();
  if (line != std::string("listening on port ") + farSidePort) {
    throw sim::Error("the far side does not listen: " + line);
  }
}

std::string FarSide::nextLine(const sim::Deadline& deadline) {
  const sim::Background wakeAtEnd(process_.endEvents(), [] {});
  sim::waitUntil("a line of the far side", deadline, [this] {
    const bool wasRunning = isRunning();
    if (!hasLine() && !wasRunning) {
      throw sim::Error("the far side has ended without another line:\n" + log());
    }
    return hasLine();
  });
  const std::string& line = standardError_.lines().at(returned_++);
  return line.starts_with(prefix) ? line.substr(prefix.size()) : "no prefix: " + line;
}

bool FarSide::hasLine() {
  return standardError_.lines().size() > returned_;
}

FarSideRun runFarSide(const std::vector<std::string>& arguments) {
  const std::string output = nextFile("stdout");
  const std::string log = nextFile("stderr");
  sim::writeFile(output, "");
  sim::writeFile(log, "");
  const sim::ProcessEnd end = sim::runProcess(commandFor(arguments), {}, output, log);
  return {.end = end, .output = sim::readFile(output), .log = sim::readFile(log)};
}

}  // namespace examples
