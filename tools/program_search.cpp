#include "tools/program_search.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace {

// What execvp takes where PATH is not set.
constexpr const char* standardPath = "/bin:/usr/bin";

ProgramSearch lookAt(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    return errno == EACCES ? ProgramSearch::notExecutable : ProgramSearch::missing;
  }
  const bool isExecutable =
      S_ISREG(status.st_mode) && faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
  return isExecutable ? ProgramSearch::found : ProgramSearch::notExecutable;
}

// An empty folder is the working directory.
std::string pathIn(std::string_view folder, const std::string& program) {
  return folder.empty() ? program : std::string(folder) + "/" + program;
}

}  // namespace

ProgramSearch searchProgram(const std::string& program) {
  if (program.empty() || program.find('/') != std::string::npos) {
    return lookAt(program);
  }
  const char* const path = std::getenv("PATH");
  std::string_view folders = path != nullptr ? path : standardPath;
  ProgramSearch result = ProgramSearch::missing;
  while (true) {
    const std::string_view folder = folders.substr(0, folders.find(':'));
    const ProgramSearch here = lookAt(pathIn(folder, program));
    if (here == ProgramSearch::found) {
      return here;
    }
    result = here == ProgramSearch::notExecutable ? here : result;
    if (folder.size() == folders.size()) {
      return result;
    }
    folders.remove_prefix(folder.size() + 1);
  }
}
