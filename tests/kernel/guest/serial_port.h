#pragma once

#include <string>

#include "sim/descriptor.h"

namespace guest {

/** One of this machine's serial ports. What passes through it is changed by nothing and echoed by nothing. */
class SerialPort {
 public:
  /** Opens a path below /dev. */
  explicit SerialPort(const std::string& path);

  void send(const std::string& text);
  /** What has arrived and was not received yet; does not wait. */
  [[nodiscard]] std::string receive();
  /** Readable when something has arrived. */
  [[nodiscard]] int events() const { return port_.get(); }

 private:
  std::string path_;
  sim::Descriptor port_;
};

/** A setting of the machine, from the kernel's command line. */
[[nodiscard]] std::string machineSetting(const char* name);

}  // namespace guest
