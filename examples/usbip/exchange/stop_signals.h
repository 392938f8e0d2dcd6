#pragma once

#include <csignal>

#include "ulx/file_descriptor.h"

namespace usbip {

/** SIGTERM, SIGINT and SIGHUP, which are held back from its construction on, as a descriptor. */
class StopSignals {
 public:
  /** Throws "sigprocmask()" or "signalfd()". */
  StopSignals();

  /** The three. */
  [[nodiscard]] static sigset_t set();
  /** It can be read from when one has arrived. */
  [[nodiscard]] int fd() const { return descriptor_.fd(); }

 private:
  ulx::FileDescriptor descriptor_;
};

}  // namespace usbip
