#include "ulx/write_once.h"

#include <sys/types.h>
#include <unistd.h>

#include <cerrno>

namespace ulx {

void writeOnce(int fd, std::string_view bytes) {
  ssize_t count = 0;
  do {
    count = ::write(fd, bytes.data(), bytes.size());
  } while (count == -1 && errno == EINTR);
}

}  // namespace ulx
