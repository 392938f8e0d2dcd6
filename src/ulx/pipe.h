#pragma once

#include <array>

#include "ulx/file_descriptor.h"

namespace ulx {

/** A pipe that owns both its ends. */
class Pipe {
 public:
  /** Throws "pipe()". */
  Pipe();

  FileDescriptor writeEnd;
  FileDescriptor readEnd;

 private:
  /** `ends` as pipe(2) returns them: the read end, then the write end. */
  explicit Pipe(const std::array<int, 2>& ends);
};

}  // namespace ulx
