#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "sim/deadline.h"
#include "sim/descriptor.h"
#include "sim/line_file.h"
#include "sim/process.h"
#include "sim/process_handle.h"
#include "sim/state_report.h"

namespace examples {

/** The port that the far side of these tests listens on. */
inline constexpr const char* farSidePort = "5000";

/** The running program usb_tx_usbip, from outside. It never outlives this process. */
class FarSide {
 public:
  /** `arguments` stand before the port. */
  explicit FarSide(const std::vector<std::string>& arguments = {}, const sim::ProcessOptions& options = {});
  /** Kills it if it still runs. */
  ~FarSide();
  FarSide(const FarSide&) = delete;
  FarSide& operator=(const FarSide&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  void signal(int number) const;
  sim::ProcessEnd waitForExit(const sim::Deadline& deadline = {});
  [[nodiscard]] bool isRunning();

  /** The numbers of its open descriptors. */
  [[nodiscard]] std::vector<int> openDescriptors() const;
  /** Waits until it has no other descriptors than these. */
  void waitForDescriptors(const std::vector<int>& expected) const;

  /** Waits until it listens. */
  void waitUntilListening();
  /** The next line that it logs, without its name before it. Throws at once when it ends without one. */
  std::string nextLine(const sim::Deadline& deadline = {});
  /** Whether there is a line that was not returned yet. */
  [[nodiscard]] bool hasLine();
  /** All that it has logged. */
  [[nodiscard]] const std::string& log() { return standardError_.text(); }

  /** Another number, here, for the open file that it knows as `number`: what the kernel has of it. */
  [[nodiscard]] sim::Descriptor shareFile(int number) const { return process_.shareFile(number); }

 private:
  pid_t pid_ = -1;
  std::string errorFile_;
  sim::LineFile standardError_;
  std::size_t returned_ = 0;
  sim::ProcessHandle process_;
  std::optional<sim::ProcessEnd> end_;
  sim::StateReport stateReport_;
};

/** What a run that ends by itself has printed, and how it has ended. */
struct FarSideRun {
  sim::ProcessEnd end;
  std::string output;
  std::string log;
};

/** Runs usb_tx_usbip to its end. */
[[nodiscard]] FarSideRun runFarSide(const std::vector<std::string>& arguments);

}  // namespace examples
