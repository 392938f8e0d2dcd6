#pragma once

#include <string>

#include "sim/descriptor.h"
#include "sim/uevent.h"

namespace bench {

/**
 * Lets the kernel multicast uevents: it is handed each one at its own uevent socket, adds the number of the event, and
 * sends it on as its own. So whoever listens is woken by the kernel's way to it, and can demand that the sender be the
 * kernel. Needs Linux 4.18, and only reaches the calling process's network.
 */
class KernelEvents {
 public:
  KernelEvents();

  /** Throws sim::Error when the kernel refuses it. */
  void send(const std::string& action, const std::string& devpath, const sim::UeventPairs& pairs) const;
  /** Announces a USB device; `directory` is its physical directory ("/sys/devices/..."). */
  void plug(const std::string& directory) const;

 private:
  sim::Descriptor socket_;
};

}  // namespace bench
