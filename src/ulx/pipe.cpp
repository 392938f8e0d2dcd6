#include "ulx/pipe.h"

#include <unistd.h>

#include <cerrno>

namespace ulx {
namespace {

std::array<int, 2> makePipe() {
  std::array<int, 2> fds{};
  if (::pipe(fds.data()) == -1) {
    throwErrno("pipe()", errno);
  }
  return fds;
}

}  // namespace

Pipe::Pipe() : fds_(makePipe()), writeEnd(fds_[1], true), readEnd(fds_[0], true) {}

}  // namespace ulx
