#include "fuzz/check.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "ulx/write_once.h"

namespace fuzz {

namespace {

// Standard error may be switched off for the product's sake. The number is out of the way of the product's.
const int report = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 100);

}  // namespace

void check(bool holds, std::string_view expectation) {
  if (!holds) {
    ulx::writeOnce(report, "Does not hold: " + std::string(expectation) + "\n");
    std::abort();
  }
}

int lowestFreeDescriptor() {
  const int fd = open("/", O_PATH | O_CLOEXEC);
  close(fd);
  return fd;
}

}  // namespace fuzz
