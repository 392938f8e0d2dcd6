#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sim/deadline.h"
#include "sim/descriptor.h"
#include "sim/file_watch.h"
#include "sim/testimony.h"

namespace sim {

/** How a process ended: by itself, or by a signal. */
struct ProcessEnd {
  std::optional<int> status;
  std::optional<int> signal;

  static ProcessEnd exited(int status) { return {status, std::nullopt}; }
  static ProcessEnd killedBy(int signal) { return {std::nullopt, signal}; }
  bool operator==(const ProcessEnd&) const = default;
};

/** "status 1" or "signal 15". */
std::ostream& operator<<(std::ostream& out, const ProcessEnd& end);

/** The world that the daemon is started into; by default a plain one. */
struct DaemonOptions {
  enum class Output {
    Captured,
    Closed,      ///< no such descriptor
    BrokenPipe,  ///< a pipe without a reader
  };

  /** "NAME=value" sets, "NAME" unsets. Without it: PATH with the stand-ins, and what sanitizers and coverage
   * need. */
  std::vector<std::string> environment;
  std::string workingDirectory = "/";
  Output standardOutput = Output::Captured;
  Output standardError = Output::Captured;
  bool standardInputClosed = false;            ///< else it is /dev/null
  std::vector<std::pair<int, rlim_t>> limits;  ///< RLIMIT_..., soft limit
  std::vector<int> blockedSignals;
  std::vector<int> ignoredSignals;
};

/** A line of the daemon's standard error without the time before it ("%6.3f: "); other lines are left as they
 * are. */
[[nodiscard]] std::string messageOf(const std::string& line);

/**
 * The running daemon, from outside. It never outlives this process. Its outputs go to files, so that it never
 * waits for a reader.
 */
class Daemon {
 public:
  /**
   * Starts it. The program is what the environment variable SIM_DAEMON says, else the one of this build;
   * SIM_DAEMON_PREFIX (words divided by blanks) is put before it, for instance an emulator.
   */
  explicit Daemon(std::vector<std::string> arguments, const DaemonOptions& options = {});
  /** Kills it if it still runs. */
  ~Daemon();
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;
  Daemon(Daemon&&) = delete;
  Daemon& operator=(Daemon&&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  [[nodiscard]] const std::vector<std::string>& arguments() const { return arguments_; }
  [[nodiscard]] bool isRunning();
  void signal(int number) const;
  ProcessEnd waitForExit(const Deadline& deadline = {});
  /** Readable when it has ended. */
  [[nodiscard]] int endEvents() const { return process_.get(); }

  /**
   * Waits for a line on standard error that contains `text`, behind the line found by the last such call, and
   * returns its message. Throws at once when the daemon ends without it.
   */
  std::string waitForLine(const std::string& text, const Deadline& deadline = {});
  /** Whether any line so far contains `text`. */
  [[nodiscard]] bool hasLine(const std::string& text) const;
  /** The complete lines on standard error so far, as they are. */
  [[nodiscard]] std::vector<std::string> lines() const;
  /** The same without the time before each. */
  [[nodiscard]] std::vector<std::string> messages() const;
  [[nodiscard]] std::string standardError() const;
  [[nodiscard]] std::string standardOutput() const;

  /** The process ids of its children, workers that have not reported yet and zombies included. */
  [[nodiscard]] std::vector<pid_t> children() const;
  /** The numbers of its open descriptors. */
  [[nodiscard]] std::vector<int> openDescriptors() const;

 private:
  void start(const DaemonOptions& options);
  bool findLine(const std::string& text, std::string& found);
  [[nodiscard]] std::string tell() const;

  std::vector<std::string> arguments_;
  std::string folder_;  ///< holds the files of its outputs
  pid_t pid_ = -1;
  Descriptor process_;
  std::optional<ProcessEnd> end_;
  std::optional<FileWatch> written_;
  std::size_t nextLine_ = 0;
  Testimony testimony_;
};

}  // namespace sim
