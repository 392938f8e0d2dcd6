#include "unit/tools/recorder/recorder_program.h"

#include <sys/wait.h>

#include <algorithm>
#include <csignal>

#include "sim/error.h"
#include "sim/files.h"
#include "sim/program.h"
#include "sim/wait.h"

namespace {

constexpr const char* outputFile = "/sim/recorder/stdout";
constexpr const char* errorFile = "/sim/recorder/stderr";

pid_t start(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = sim::commandOf("SIM_RECORDER", RECORDER_PROGRAM);
  command.insert(command.end(), arguments.begin(), arguments.end());
  sim::writeFile(outputFile, "");
  return sim::startProcess(command, {}, outputFile, errorFile);
}

}  // namespace

RecorderProgram::RecorderProgram(const std::vector<std::string>& arguments)
    : standardError_(errorFile), pid_(start(arguments)), handle_(pid_) {}

RecorderProgram::~RecorderProgram() {
  if (pid_ > 0) {
    handle_.signal(SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
}

std::string RecorderProgram::standardOutput() {
  return sim::readFile(outputFile);
}

void RecorderProgram::waitForLine(const std::string& line, const sim::Deadline& deadline) {
  sim::waitUntil("the recorder's line: " + line, deadline, [&] {
    const std::vector<std::string>& lines = standardError_.lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  });
}

sim::ProcessEnd RecorderProgram::waitForEnd() {
  if (!sim::waitReadable(handle_.endEvents(), {})) {
    throw sim::TimedOut("the recorder's end");
  }
  int status = 0;
  ::waitpid(pid_, &status, 0);
  pid_ = 0;
  return sim::ProcessEnd::of(status);
}
