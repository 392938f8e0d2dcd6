#include "ulx/working_directory.h"

#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "ulx/exceptions.h"

namespace ulx {
namespace {

constexpr std::size_t firstPathSize = 256;

}  // namespace

void changeDirectory(const std::string& path) {
  if (::chdir(path.c_str()) == -1) {
    throwErrno("chdir()", errno);
  }
}

std::string currentDirectory() {
  std::string buffer(firstPathSize, '\0');
  while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
    if (errno != ERANGE) {
      throwErrno("getcwd()", errno);
    }
    buffer.resize(2 * buffer.size());
  }
  buffer.resize(buffer.find('\0'));
  return buffer;
}

DirectoryVisit::DirectoryVisit(const std::string& path) : saved_(currentDirectory()) {
  changeDirectory(path);
}

DirectoryVisit::~DirectoryVisit() {
  if (away_ && ::chdir(saved_.c_str()) == -1) {
    // The exception that ended the visit early reports its own cause.
  }
}

void DirectoryVisit::leave() {
  away_ = false;
  changeDirectory(saved_);
}

}  // namespace ulx
