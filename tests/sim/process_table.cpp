#include "sim/process_table.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "sim/error.h"
#include "sim/files.h"

namespace sim {

namespace {

std::string folderOf(pid_t process) {
  return "/proc/" + std::to_string(process);
}

/** Empty when there is no such process. */
std::string statLineOf(pid_t process) {
  std::ifstream file(folderOf(process) + "/stat");
  std::string line;
  std::getline(file, line);
  return line;
}

/** Field 3 and what follows it: the name before it may hold anything but ends at the last parenthesis. */
std::istringstream fieldsFromThird(const std::string& statLine) {
  return std::istringstream(statLine.substr(statLine.rfind(')') + 1));
}

}  // namespace

bool ProcessAge::operator<(const ProcessAge& other) const {
  return ticks != other.ticks ? ticks < other.ticks : pid < other.pid;
}

ProcessAge ageFrom(const std::string& statLine) {
  constexpr int fieldsBeforeStart = 22 - 3;
  ProcessAge age;
  std::istringstream(statLine) >> age.pid;
  std::istringstream fields = fieldsFromThird(statLine);
  std::string skipped;
  for (int i = 0; i < fieldsBeforeStart; ++i) {
    fields >> skipped;
  }
  fields >> age.ticks;
  return age;
}

std::optional<ProcessAge> ageOf(pid_t process) {
  const std::string line = statLineOf(process);
  return line.empty() ? std::nullopt : std::optional(ageFrom(line));
}

bool isRunning(pid_t process) {
  const std::string line = statLineOf(process);
  std::string state;
  return !line.empty() && fieldsFromThird(line) >> state && state != "Z" && state != "X";
}

std::vector<pid_t> childrenOf(pid_t process) {
  std::ifstream words(folderOf(process) + "/task/" + std::to_string(process) + "/children");
  std::vector<pid_t> children;
  for (pid_t child = 0; words >> child;) {
    children.push_back(child);
  }
  return children;
}

std::vector<int> openDescriptorsOf(pid_t process) {
  std::vector<int> numbers;
  try {
    for (const std::filesystem::path& entry : entriesOf(folderOf(process) + "/fd")) {
      numbers.push_back(std::stoi(entry.filename()));
    }
  } catch (const Error&) {
    return {};
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

}  // namespace sim
