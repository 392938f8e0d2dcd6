#include "sim/files.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "sim/error.h"

namespace sim {

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  if (!file.is_open() || file.bad()) {
    throw systemError("reading " + path);
  }
  return content.str();
}

void writeFile(const std::string& path, const std::string& content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content << std::flush;
  if (!file) {
    throw systemError("writing " + path);
  }
}

}  // namespace sim
