#include "support/unprivileged_child.h"

#include <linux/capability.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace support {
namespace {

void requireSuccess(long result, const char* call) {
  if (result == -1) {
    throw std::system_error(errno, std::generic_category(), call);
  }
}

void dropCapabilities() {
  __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
  const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none{};
  requireSuccess(syscall(SYS_capset, &header, none.data()), "capset");
}

// It leaves by _Exit: nothing that the test will clean up may be cleaned up here.
[[noreturn]] void report(const std::function<std::string()>& body, int fd) {
  try {
    dropCapabilities();
    const std::string text = body();
    std::fflush(nullptr);
    const bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    std::_Exit(written ? EXIT_SUCCESS : EXIT_FAILURE);
  } catch (...) {
    std::_Exit(EXIT_FAILURE);
  }
}

std::string readToEnd(int fd) {
  std::string all;
  std::array<char, 1024> some{};
  for (ssize_t count = 0; (count = read(fd, some.data(), some.size())) > 0;) {
    all.append(some.data(), static_cast<std::size_t>(count));
  }
  return all;
}

}  // namespace

std::string reportOfUnprivilegedChild(const std::function<std::string()>& body) {
  std::array<int, 2> ends{};
  requireSuccess(pipe(ends.data()), "pipe");
  std::fflush(nullptr);
  const pid_t child = fork();
  requireSuccess(child, "fork");
  if (child == 0) {
    report(body, ends[1]);
  }
  close(ends[1]);
  std::string text = readToEnd(ends[0]);
  close(ends[0]);
  int status = 0;
  requireSuccess(waitpid(child, &status, 0), "waitpid");
  if (status != 0) {
    throw std::runtime_error("the child ended with wait status " + std::to_string(status));
  }
  return text;
}

}  // namespace support
