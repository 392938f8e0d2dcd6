#include "system/support/placed_programs.h"

#include <filesystem>
#include <sstream>

#include "sim/files.h"
#include "sim/workers.h"

namespace support {
namespace {

namespace fs = std::filesystem;

std::string processFile(pid_t process, const std::string& name) {
  return "/proc/" + std::to_string(process) + "/" + name;
}

}  // namespace

void placeProgram(const std::string& path) {
  sim::installWorkerStandin(path);
  const fs::path standin = fs::canonical(path);
  fs::remove(path);
  fs::copy_file(standin, path);
}

void placeText(const std::string& path, const std::string& content) {
  sim::writeFile(path, content);
  fs::permissions(path, fs::perms::owner_all);
}

std::string executedFileOf(pid_t process) {
  return fs::read_symlink(processFile(process, "exe"));
}

std::vector<std::string> argumentsOf(pid_t process) {
  std::istringstream texts(sim::readFile(processFile(process, "cmdline")));
  std::vector<std::string> arguments;
  for (std::string argument; std::getline(texts, argument, '\0');) {
    arguments.push_back(argument);
  }
  return arguments;
}

}  // namespace support
