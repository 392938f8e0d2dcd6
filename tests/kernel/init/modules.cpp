#include "kernel/init/modules.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <system_error>

namespace {

void loadModule(const std::string& path, const std::string& options) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  // The C library has no function for this call.
  if (::syscall(SYS_finit_module, file, options.c_str(), 0) != 0) {
    throw std::system_error(errno, std::generic_category(), "loading " + path);
  }
  ::close(file);
}

}  // namespace

void loadModules(const std::string& listPath) {
  std::ifstream list(listPath);
  for (std::string line; std::getline(list, line);) {
    const std::size_t blank = line.find(' ');
    loadModule(line.substr(0, blank), blank == std::string::npos ? "" : line.substr(blank + 1));
  }
}
