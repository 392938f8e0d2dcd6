#include "tools/program_search.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "ulx/items.h"
#include "ulx/program_call.h"

namespace {

ProgramSearch lookAt(const char* path) {
  struct stat status {};
  if (stat(path, &status) != 0) {
    return errno == EACCES ? ProgramSearch::notExecutable : ProgramSearch::missing;
  }
  const bool isExecutable = S_ISREG(status.st_mode) && faccessat(AT_FDCWD, path, X_OK, AT_EACCESS) == 0;
  return isExecutable ? ProgramSearch::found : ProgramSearch::notExecutable;
}

}  // namespace

ProgramSearch searchProgram(const std::string& program) {
  ProgramSearch result = ProgramSearch::missing;
  ulx::forEachItem(ulx::programCandidates(program), '\0', [&result](std::string_view candidate) {
    const ProgramSearch here = lookAt(candidate.data());
    if (result != ProgramSearch::found && here != ProgramSearch::missing) {
      result = here;
    }
  });
  return result;
}
