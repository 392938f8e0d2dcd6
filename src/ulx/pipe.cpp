#include "ulx/pipe.h"

#include <unistd.h>

#include <cerrno>

#include "ulx/exceptions.h"

namespace ulx {
namespace {

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) == -1) {
    throwErrno("pipe()", errno);
  }
  return ends;
}

}  // namespace

Pipe::Pipe() : Pipe(makePipe()) {}

Pipe::Pipe(const std::array<int, 2>& ends) : writeEnd(ends[1], true), readEnd(ends[0], true) {}

}  // namespace ulx
