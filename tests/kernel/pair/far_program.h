#pragma once

#include <cstddef>
#include <string>

#include "kernel/pair/far_machine.h"
#include "sim/state_report.h"

namespace pair {

/** usb_tx_usbip, on the far machine. */
class FarProgram {
 public:
  static constexpr int port = 5000;

  explicit FarProgram(FarMachine& machine);
  /** Ends it, and waits until the kernel has let go of what it had attached. */
  ~FarProgram();
  FarProgram(const FarProgram&) = delete;
  FarProgram& operator=(const FarProgram&) = delete;

  /** Starts it, and waits until it listens. */
  void start(const std::string& options);
  [[nodiscard]] bool isRunning() const { return !process_.empty(); }
  /** Has it end, and returns its exit status. */
  int stop();
  void kill();

  /** Its lines since it was started. */
  std::string log();
  /** Waits until so many of its lines match a regular expression, as grep has them; returns the last one. */
  std::string waitForLine(const std::string& expression, int count = 1, const sim::Deadline& deadline = {});
  std::string waitForAttached(int count = 1) { return waitForLine(" is attached at port [0-9]", count); }
  std::string waitForGone(int count = 1, const sim::Deadline& deadline = {}) {
    return waitForLine(" has gone$", count, deadline);
  }

  /** How many descriptors it has open. */
  std::size_t openDescriptors();
  /** How many ports of the far machine's virtual hubs are not free. */
  int portsInUse();

 private:
  int wait();
  std::string describe();

  FarMachine& machine_;
  std::string process_;  ///< its number; empty when it does not run
  bool isBeingDescribed_ = false;
  sim::StateReport stateReport_;
};

}  // namespace pair
