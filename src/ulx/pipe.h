#pragma once

#include <array>

#include "ulx/file_descriptor.h"

namespace ulx {

/** A pipe that owns both of its ends. */
class Pipe {
 public:
  /** Throws "pipe()". */
  Pipe();

 private:
  std::array<int, 2> fds_;  // as pipe(2) gives them: read end, write end

 public:
  FileDescriptor writeEnd;
  FileDescriptor readEnd;
};

}  // namespace ulx
