#pragma once

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
  class Ends;

  explicit Pipe(Ends&& ends);
};

}  // namespace ulx
