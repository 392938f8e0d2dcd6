#include "ulx/path.h"

#include <sys/stat.h>

#include <cerrno>

#include "ulx/exceptions.h"

namespace ulx {

bool pathExists(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0) {
    return true;
  }
  if (errno != ENOENT && errno != ENOTDIR) {
    throwErrno({"stat(", path, ")"}, errno);
  }
  return false;
}

}  // namespace ulx
