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

namespace sim {

/** A line of the daemon's standard error without the time before it ("%6.3f: "); other lines are left as they
 * are. */
[[nodiscard]] std::string messageOf(const std::string& line);

/** The command that starts the daemon: the program of this build, unless the environment variable SIM_DAEMON names
 * another; see commandOf(). */
[[nodiscard]] std::vector<std::string> daemonCommand();

/**
 * The running daemon, from outside. It never outlives this process. Its outputs go to files, so that it never
 * waits for a reader.
 */
class Daemon {
 public:
  /** Starts it by daemonCommand(). */
  explicit Daemon(std::vector<std::string> arguments, const ProcessOptions& options = {});
  /** Kills it if it still runs. */
  ~Daemon();
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  [[nodiscard]] const std::vector<std::string>& arguments() const { return arguments_; }
  [[nodiscard]] bool isRunning();
  void signal(int number) const;
  ProcessEnd waitForExit(const Deadline& deadline = {});
  /** Readable when it has ended. */
  [[nodiscard]] int endEvents() const { return process_.endEvents(); }

  /**
   * Waits for a line on standard error that contains `text`, behind the line found by the last such call, and
   * returns its message. Throws at once when the daemon ends without it.
   */
  std::string waitForLine(const std::string& text, const Deadline& deadline = {});
  /** Whether any line so far contains `text`. */
  [[nodiscard]] bool hasLine(const std::string& text);
  /** The complete lines on standard error so far, as they are. */
  [[nodiscard]] const std::vector<std::string>& lines();
  /** The same without the time before each. */
  [[nodiscard]] std::vector<std::string> messages();
  /** The messages that were not returned by this function before. */
  std::vector<std::string> takeMessages();
  /** Whether takeMessages() would return any. */
  [[nodiscard]] bool hasUntakenMessages() { return taken_ < lines().size(); }
  [[nodiscard]] std::string standardError() const;
  [[nodiscard]] std::string standardOutput() const;

  /** The process ids of its children, workers that have not reported yet and zombies included. */
  [[nodiscard]] std::vector<pid_t> children() const;
  /** The numbers of its open descriptors. */
  [[nodiscard]] std::vector<int> openDescriptors() const;

 private:
  [[nodiscard]] std::optional<std::string> nextLineWith(const std::string& text);
  [[nodiscard]] std::string describe();

  std::vector<std::string> arguments_;
  std::string folder_;  ///< holds the files of its outputs
  pid_t pid_ = -1;
  ProcessHandle process_;
  std::optional<ProcessEnd> end_;
  LineFile standardError_;
  std::size_t nextLine_ = 0;  ///< where waitForLine() goes on
  std::size_t taken_ = 0;
  StateReport stateReport_;
};

}  // namespace sim
