#include "tools/program_search.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

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
  const std::string candidates = ulx::programCandidates(program);
  const char* const end = candidates.data() + candidates.size();
  ProgramSearch result = ProgramSearch::missing;
  for (const char* candidate = candidates.data(); candidate != end; candidate += std::strlen(candidate) + 1) {
    const ProgramSearch here = lookAt(candidate);
    if (here == ProgramSearch::found) {
      return here;
    }
    result = here == ProgramSearch::notExecutable ? here : result;
  }
  return result;
}
