#pragma once

#include <string>

namespace ulx {

/** The status of a command that a signal has ended; exit codes go up to 255. */
inline constexpr int endedBySignal = 256;

/**
 * Runs `command` in the shell and returns what it writes to standard output and standard error, as it is.
 * `status` becomes its exit code, or `endedBySignal`. Throws popen(COMMAND 2>&1) or "pclose()".
 */
std::string captureCommand(const std::string& command, int& status);

/**
 * The same for a command that has to succeed: throws a StrException "run_cmd(COMMAND) exitted with status N"
 * for any status but 0.
 */
std::string run_cmd(const std::string& command);

}  // namespace ulx
