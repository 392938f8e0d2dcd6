#include "sim/files.h"

#include <dirent.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string_view>

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

std::vector<std::filesystem::path> entriesOf(const std::filesystem::path& directory) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(directory.c_str()), ::closedir);
  if (!stream) {
    throw systemError("opendir(" + directory.string() + ")");
  }
  std::vector<std::filesystem::path> entries;
  while (const dirent* entry = ::readdir(stream.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      entries.push_back(directory / name);
    }
  }
  return entries;
}

}  // namespace sim
