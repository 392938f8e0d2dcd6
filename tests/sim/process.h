#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sim {

/** How a process ended: by itself, or by a signal. */
struct ProcessEnd {
  std::optional<int> status;
  std::optional<int> signal;

  static ProcessEnd exited(int status) { return {status, std::nullopt}; }
  static ProcessEnd killedBy(int signal) { return {std::nullopt, signal}; }
  /** From a status of waitpid(). */
  static ProcessEnd of(int waitStatus);
  bool operator==(const ProcessEnd&) const = default;
};

/** "status 1" or "signal 15". */
std::ostream& operator<<(std::ostream& out, const ProcessEnd& end);

/** The environment that a process starts in; by default a plain one. */
struct ProcessOptions {
  enum class Output {
    captured,
    closed,      ///< no such descriptor
    brokenPipe,  ///< a pipe without a reader
  };
  enum class Input { empty, closed };

  /**
   * "NAME=value" sets, "NAME" unsets. What is there without it: PATH, with the stand-in workers first, and
   * the settings of sanitizers, coverage and emulators.
   */
  std::vector<std::string> environment;
  std::string workingDirectory = "/";
  mode_t fileModeMask = 022;  ///< umask
  Input standardInput = Input::empty;
  Output standardOutput = Output::captured;
  Output standardError = Output::captured;
  std::vector<std::pair<int, rlim_t>> limits;  ///< RLIMIT_... and its soft limit
  std::vector<int> blockedSignals;
  std::vector<int> ignoredSignals;
};

/**
 * Starts a program with clean signals and no descriptors but the standard ones; captured output is appended
 * to `outputFile` and `errorFile`, which exist. The process is killed when this one ends. Returns its id,
 * which the caller must wait for; throws Error when it cannot be executed.
 */
pid_t startProcess(const std::vector<std::string>& command, const ProcessOptions& options,
                   const std::string& outputFile, const std::string& errorFile);
/** The same for a program that ends by itself; waits for its end. */
ProcessEnd runProcess(const std::vector<std::string>& command, const ProcessOptions& options,
                      const std::string& outputFile, const std::string& errorFile);

}  // namespace sim
