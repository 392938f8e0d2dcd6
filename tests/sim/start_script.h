#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "sim/deadline.h"
#include "sim/process.h"

namespace sim {

/** What a call of the start script has printed, and how it ended. */
struct ScriptRun {
  ProcessEnd end;
  std::string output;  ///< on either of its outputs
};

/**
 * The start script of a unit with BusyBox. It finds the daemon, behind SIM_PROGRAM_PREFIX, and the stand-in workers in
 * "/sim/bin". The file of its arguments must be writable: on a simulated unit "/etc/default" has to be private.
 */
class StartScript {
 public:
  static constexpr const char* argumentsFile = "/etc/default/usb_rx_ctrl";

  /** `shell` is the command by which BusyBox's shell runs where the script's processes are; its words follow. */
  StartScript(std::vector<std::string> shell, std::string file);

  /** Writes the daemon's arguments to the file that the script reads. */
  static void setArguments(const std::string& options, const std::string& port = "5000");

  /** Calls the script, and waits until it returns. */
  ScriptRun call(const std::string& command);
  /** Has the shell carry out one line, where the script's processes are. */
  ScriptRun shell(const std::string& line);

  /** The daemon that the supervisor has started last and not seen to end, as processes of the unit are numbered. */
  [[nodiscard]] static std::optional<pid_t> daemon();
  /** Waits for a daemon with another number. */
  static pid_t waitForDaemonAfter(pid_t previous, const Deadline& deadline = {});
  /** Waits until a daemon answers at its control socket. */
  static void waitUntilServing(const Deadline& deadline = {});

 private:
  ScriptRun run(const std::vector<std::string>& words);

  std::vector<std::string> shell_;
  std::string file_;
  int runs_ = 0;
};

}  // namespace sim
