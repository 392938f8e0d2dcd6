#pragma once

#include <deque>
#include <optional>
#include <string>

#include "kernel/guest/serial_port.h"

namespace guest {

/**
 * The emulated machine that this system runs in: its monitor listens on one of the machine's own serial ports
 * (QEMU's machine protocol, one JSON text a line). The monitor greets and negotiates once, so there is one
 * object of this class in a program.
 */
class Machine {
 public:
  /** Opens the port, a path below /dev, and waits until the monitor answers. */
  explicit Machine(const std::string& port);

  /**
   * Has a command carried out; `arguments` is a JSON object. Throws sim::Error with the monitor's answer when
   * it refuses, sim::TimedOut when it does not answer.
   */
  void execute(const std::string& command, const std::string& arguments);

  /** Waits until a device that the last command has asked to be deleted is no more. */
  void waitUntilDeleted(const std::string& device);

 private:
  void readLines();
  [[nodiscard]] std::optional<std::string> takeLineWith(const std::string& first, const std::string& second);
  /** Waits for a line that contains both texts, and takes it out. */
  std::string waitForLineWith(const std::string& first, const std::string& second);

  SerialPort port_;
  std::string unfinishedLine_;
  std::deque<std::string> lines_;  ///< since the last command, without those taken out
  int commands_ = 0;
};

/** The machine that this program runs in. */
[[nodiscard]] Machine& thisMachine();

}  // namespace guest
