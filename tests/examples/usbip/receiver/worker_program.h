#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "sim/deadline.h"
#include "sim/line_file.h"
#include "sim/process.h"
#include "sim/process_handle.h"
#include "sim/state_report.h"

namespace examples {

/** The command that starts usb_rx_usbip. */
[[nodiscard]] std::vector<std::string> workerCommand();

/** The running program usb_rx_usbip, from outside. It never outlives this process. */
class WorkerProgram {
 public:
  explicit WorkerProgram(const std::vector<std::string>& arguments, const sim::ProcessOptions& options = {});
  /** Kills it if it still runs. */
  ~WorkerProgram();
  WorkerProgram(const WorkerProgram&) = delete;
  WorkerProgram& operator=(const WorkerProgram&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  void signal(int number) const { process_.signal(number); }
  sim::ProcessEnd waitForEnd(const sim::Deadline& deadline = {});
  /** Waits until the log has this line. */
  void waitForLine(const std::string& line, const sim::Deadline& deadline = {});
  /** All lines so far, without the program's name before them; others as they are. */
  [[nodiscard]] std::vector<std::string> log();

 private:
  [[nodiscard]] bool isRunning();

  std::string outputFile_;
  std::string errorFile_;
  sim::LineFile standardError_;
  pid_t pid_ = -1;
  sim::ProcessHandle process_;
  std::optional<sim::ProcessEnd> end_;
  sim::StateReport stateReport_;
};

}  // namespace examples
