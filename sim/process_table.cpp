#include "sim/process_table.h"

#include <fstream>
#include <sstream>

namespace sim {

namespace {

std::string folderOf(pid_t process) {
  return "/proc/" + std::to_string(process);
}

/** Field 3 and what follows it: the name before it may hold anything but ends at the last parenthesis. */
std::istringstream fieldsFromThird(const std::string& statLine) {
  return std::istringstream(statLine.substr(statLine.rfind(')') + 1));
}

}  // namespace

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

std::optional<ProcessAge> ageOfRunning(pid_t process) {
  std::ifstream file(folderOf(process) + "/stat");
  std::string line;
  std::string state;
  if (!std::getline(file, line) || !(fieldsFromThird(line) >> state) || state == "Z" || state == "X") {
    return std::nullopt;
  }
  return ageFrom(line);
}

std::vector<pid_t> childrenOf(pid_t process) {
  std::ifstream words(folderOf(process) + "/task/" + std::to_string(process) + "/children");
  std::vector<pid_t> children;
  for (pid_t child = 0; words >> child;) {
    children.push_back(child);
  }
  return children;
}

}  // namespace sim
