#pragma once

#include "ulx/file_descriptor.h"

namespace usbip {

/** SIGTERM and SIGINT, which are held back from the making of it on, as a descriptor. */
class StopSignals {
 public:
  /** Throws sigprocmask(), signalfd(). */
  StopSignals();

  /** It can be read from when one has arrived. */
  [[nodiscard]] int fd() const { return descriptor_.fd(); }

 private:
  ulx::FileDescriptor descriptor_;
};

}  // namespace usbip
