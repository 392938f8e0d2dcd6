#pragma once

#include <string>

namespace ulx {

/** The status of a command that a signal ended; exit codes go up to 255. */
inline constexpr int endedBySignal = 256;

/**
 * Runs `command` in the shell and returns the bytes that it writes to standard output and standard error.
 * Sets `status` to its exit code or to `endedBySignal`. Throws popen(COMMAND 2>&1) or "pclose()".
 */
std::string captureCommand(const std::string& command, int& status);

/**
 * captureCommand for a command that must succeed. Throws a StrException "run_cmd(COMMAND) exitted with status
 * N" for any status but 0. Nothing in the product calls it: it is for other programs.
 */
std::string run_cmd(const std::string& command);

}  // namespace ulx
