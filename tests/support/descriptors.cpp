#include "support/descriptors.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <cerrno>
#include <system_error>

namespace support {

std::set<int> openDescriptors() {
  // Asked one by one: a look into /proc would open one of its own.
  constexpr int highest = 1023;
  std::set<int> found;
  for (int fd = 0; fd <= highest; ++fd) {
    if (isOpen(fd)) {
      found.insert(fd);
    }
  }
  return found;
}

int nextDescriptor() {
  int next = 0;
  while (isOpen(next)) {
    ++next;
  }
  return next;
}

bool isOpen(int fd) {
  return fcntl(fd, F_GETFD) != -1;
}

bool isCloseOnExec(int fd) {
  const int flags = fcntl(fd, F_GETFD);
  return flags != -1 && (flags & FD_CLOEXEC) != 0;
}

void limitFurtherDescriptors(int count) {
  rlim_t end = 0;
  for (int free = 0; free < count || isOpen(static_cast<int>(end)); ++end) {
    free += isOpen(static_cast<int>(end)) ? 0 : 1;
  }
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = end;
  if (setrlimit(RLIMIT_NOFILE, &limit) == -1) {
    throw std::system_error(errno, std::generic_category(), "setrlimit");
  }
}

}  // namespace support
