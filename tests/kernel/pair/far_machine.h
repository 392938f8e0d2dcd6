#pragma once

#include <string>

#include "kernel/guest/serial_port.h"
#include "sim/deadline.h"

namespace pair {

/** What a command has printed, on either of its outputs, and its exit status. */
struct Answer {
  int status;
  std::string output;
};

/**
 * The machine at the other end of the wire. It carries out commands for BusyBox's shell that reach it through a serial
 * port, one at a time: neither the wire nor what is tried on it is needed for them. A command must not end the shell.
 */
class FarMachine {
 public:
  /** Waits until the machine is up. */
  explicit FarMachine(const sim::Deadline& deadline = sim::Deadline(30));

  /** Has a command carried out, and returns when it has ended. */
  Answer call(const std::string& command, const sim::Deadline& deadline = {});
  /** The output of a command, without the newlines at its end. Throws sim::Error when the command fails. */
  std::string read(const std::string& command, const sim::Deadline& deadline = {});
  /** The output of a command that is tried again and again until it succeeds. Throws sim::TimedOut. */
  std::string waitUntil(const std::string& command, const sim::Deadline& deadline = {});
  /** Makes a file for its owner alone. */
  void writeFile(const std::string& path, const std::string& content);

 private:
  bool answers(const sim::Deadline& deadline);
  std::string receiveUpTo(const std::string& mark, const sim::Deadline& deadline);

  guest::SerialPort port_;
  std::string received_;  ///< not taken yet
  int commands_ = 0;
};

}  // namespace pair
