#include "examples/usbip/receiver/worker_program.h"

#include <sys/wait.h>

#include <algorithm>
#include <csignal>

#include "sim/error.h"
#include "sim/files.h"
#include "sim/program.h"
#include "sim/wait.h"

namespace examples {
namespace {

const std::string prefix = "usb_rx_usbip: ";

std::string nextFile(const std::string& name) {
  static int count = 0;
  return "/sim/worker-" + std::to_string(++count) + "-" + name;
}

}  // namespace

std::vector<std::string> workerCommand() {
  return sim::commandOf("SIM_USB_RX_USBIP", USB_RX_USBIP_PROGRAM);
}

WorkerProgram::WorkerProgram(const std::vector<std::string>& arguments, const sim::ProcessOptions& options)
    : outputFile_(nextFile("stdout")),
      errorFile_(nextFile("stderr")),
      standardError_(errorFile_),
      stateReport_([this] { return "the worker has logged:\n" + standardError_.text(); }) {
  sim::writeFile(outputFile_, "");
  std::vector<std::string> command = workerCommand();
  command.insert(command.end(), arguments.begin(), arguments.end());
  pid_ = sim::startProcess(command, options, outputFile_, errorFile_);
  process_ = sim::ProcessHandle(pid_);
}

WorkerProgram::~WorkerProgram() {
  if (isRunning()) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
}

bool WorkerProgram::isRunning() {
  int status = 0;
  if (!end_ && ::waitpid(pid_, &status, WNOHANG) == pid_) {
    end_ = sim::ProcessEnd::of(status);
  }
  return !end_;
}

sim::ProcessEnd WorkerProgram::waitForEnd(const sim::Deadline& deadline) {
  sim::waitUntil("the end of the worker", deadline, process_.endEvents(), [this] { return !isRunning(); });
  return *end_;
}

void WorkerProgram::waitForLine(const std::string& line, const sim::Deadline& deadline) {
  const sim::Background wakeAtEnd(process_.endEvents(), [] {});
  sim::waitUntil("the line \"" + line + "\"", deadline, [&] {
    const bool wasRunning = isRunning();
    const bool isThere = std::ranges::count(log(), line) != 0;
    if (!isThere && !wasRunning) {
      throw sim::Error("the worker has ended without the line \"" + line + "\":\n" + standardError_.text());
    }
    return isThere;
  });
}

std::vector<std::string> WorkerProgram::log() {
  std::vector<std::string> lines = standardError_.lines();
  for (std::string& line : lines) {
    if (line.starts_with(prefix)) {
      line.erase(0, prefix.size());
    }
  }
  return lines;
}

}  // namespace examples
