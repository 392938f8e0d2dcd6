#include "sim/program.h"

#include <cstdlib>
#include <sstream>

namespace sim {

std::vector<std::string> commandOf(const char* variable, const std::string& built) {
  const char* prefix = std::getenv("SIM_PROGRAM_PREFIX");
  std::istringstream words(prefix == nullptr ? "" : prefix);
  std::vector<std::string> command;
  for (std::string word; words >> word;) {
    command.push_back(word);
  }
  const char* other = std::getenv(variable);
  command.push_back(other != nullptr ? other : built);
  return command;
}

}  // namespace sim
