#include "ulx/working_directory.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>

#include "ulx/exceptions.h"

namespace ulx {
namespace {

constexpr std::size_t firstPathSize = 256;

// Whether getcwd, which has returned `path`, had room for it.
bool fits(const char* path) {
  if (path == nullptr && errno != ERANGE) {
    throwErrno("getcwd()", errno);
  }
  return path != nullptr;
}

}  // namespace

void changeDirectory(const std::string& path) {
  if (::chdir(path.c_str()) == -1) {
    throwErrno("chdir()", errno);
  }
}

std::string currentDirectory() {
  std::array<char, firstPathSize> first;  // NOLINT(cppcoreguidelines-pro-type-member-init): getcwd fills it
  if (fits(::getcwd(first.data(), first.size()))) {
    return first.data();
  }
  std::string buffer(2 * first.size(), '\0');
  while (!fits(::getcwd(buffer.data(), buffer.size()))) {
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
