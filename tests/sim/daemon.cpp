#include "sim/daemon.h"

#include <sys/wait.h>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <optional>
#include <sstream>
#include <utility>

#include "sim/error.h"
#include "sim/files.h"
#include "sim/process_table.h"
#include "sim/program.h"
#include "sim/wait.h"

namespace sim {

namespace {

constexpr std::size_t linesInReport = 40;

std::vector<std::string> commandFor(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = daemonCommand();
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

std::string folderOfNextDaemon() {
  static int started = 0;
  return "/sim/daemon-" + std::to_string(++started);
}

std::string toText(const ProcessEnd& end) {
  std::ostringstream text;
  text << end;
  return text.str();
}

}  // namespace

std::vector<std::string> daemonCommand() {
  return commandOf("SIM_DAEMON", SIM_DAEMON_PROGRAM);
}

std::string messageOf(const std::string& line) {
  // Blanks, digits, a point, three digits, a colon and a blank: the width is six, or more past 99.9995.
  const std::size_t colon = line.find(": ");
  if (colon == std::string::npos || colon < 6 || line[colon - 4] != '.') {
    return line;
  }
  const bool isTime = std::all_of(
      line.begin(), line.begin() + static_cast<std::ptrdiff_t>(colon),
      [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0 || c == ' ' || c == '.'; });
  return isTime ? line.substr(colon + 2) : line;
}

Daemon::Daemon(std::vector<std::string> arguments, const ProcessOptions& options)
    : arguments_(std::move(arguments)),
      folder_(folderOfNextDaemon()),
      standardError_(folder_ + "/stderr"),
      stateReport_([this] { return describe(); }) {
  writeFile(folder_ + "/stdout", "");
  pid_ = startProcess(commandFor(arguments_), options, folder_ + "/stdout", folder_ + "/stderr");
  process_ = ProcessHandle(pid_);
}

Daemon::~Daemon() {
  if (!end_) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
}

bool Daemon::isRunning() {
  int status = 0;
  if (!end_ && ::waitpid(pid_, &status, WNOHANG) == pid_) {
    end_ = ProcessEnd::of(status);
  }
  return !end_;
}

void Daemon::signal(int number) const {
  if (end_ || ::kill(pid_, number) != 0) {
    throw Error("the daemon has ended and takes no signal");
  }
}

ProcessEnd Daemon::waitForExit(const Deadline& deadline) {
  waitUntil("the end of the daemon", deadline, process_.endEvents(), [this] { return !isRunning(); });
  return *end_;
}

std::string Daemon::waitForLine(const std::string& text, const Deadline& deadline) {
  std::optional<std::string> found;
  const Background wakeAtEnd(process_.endEvents(), [] {});
  waitUntil("the daemon's line \"" + text + "\"", deadline, [&] {
    const bool wasRunning = isRunning();
    found = nextLineWith(text);
    if (!found && !wasRunning) {
      throw Error("the daemon ended (" + toText(*end_) + ") without the line \"" + text + "\"\n" +
                  allStateReports());
    }
    return found.has_value();
  });
  return *found;
}

std::optional<std::string> Daemon::nextLineWith(const std::string& text) {
  const std::vector<std::string>& all = lines();
  for (std::size_t i = nextLine_; i < all.size(); ++i) {
    std::string message = messageOf(all[i]);
    if (message.find(text) != std::string::npos) {
      nextLine_ = i + 1;
      return message;
    }
  }
  return std::nullopt;
}

bool Daemon::hasLine(const std::string& text) {
  const std::vector<std::string>& all = lines();
  return std::any_of(all.begin(), all.end(),
                     [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

const std::vector<std::string>& Daemon::lines() {
  return standardError_.lines();
}

std::vector<std::string> Daemon::messages() {
  std::vector<std::string> all;
  for (const std::string& line : lines()) {
    all.push_back(messageOf(line));
  }
  return all;
}

std::vector<std::string> Daemon::takeMessages() {
  std::vector<std::string> untaken;
  const std::vector<std::string>& all = lines();
  for (; taken_ < all.size(); ++taken_) {
    untaken.push_back(messageOf(all[taken_]));
  }
  return untaken;
}

std::string Daemon::standardError() const {
  return readFile(folder_ + "/stderr");
}

std::string Daemon::standardOutput() const {
  return readFile(folder_ + "/stdout");
}

std::vector<pid_t> Daemon::children() const {
  return childrenOf(pid_);
}

std::vector<int> Daemon::openDescriptors() const {
  return openDescriptorsOf(pid_);
}

std::string Daemon::describe() {
  const std::vector<std::string>& all = lines();
  const std::size_t first = all.size() > linesInReport ? all.size() - linesInReport : 0;
  std::string text = isRunning() ? "the daemon runs" : "the daemon has ended: " + toText(*end_);
  text += "; the last lines of its standard error:\n";
  for (std::size_t i = first; i < all.size(); ++i) {
    text += "  " + all[i] + "\n";
  }
  return text;
}

}  // namespace sim
