#include "fuzz/check.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace fuzz {

namespace {

// Standard error may be switched off for the product's sake. The number is out of the way of the product's.
const int report = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 100);

}  // namespace

void check(bool holds, std::string_view expectation) {
  if (!holds) {
    const std::string line = "Does not hold: " + std::string(expectation) + "\n";
    static_cast<void>(write(report, line.data(), line.size()) == 0);  // the end comes in any case
    std::abort();
  }
}

int lowestFreeDescriptor() {
  const int fd = open("/", O_PATH | O_CLOEXEC);
  close(fd);
  return fd;
}

}  // namespace fuzz
