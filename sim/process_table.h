#pragma once

#include <sys/types.h>

#include <compare>
#include <optional>
#include <string>
#include <vector>

namespace sim {

/** When a process was started: earlier ones compare less, also when the system begins again with low numbers.
 */
struct ProcessAge {
  unsigned long long ticks = 0;  ///< clock ticks since the machine's start
  pid_t pid = 0;

  auto operator<=>(const ProcessAge&) const = default;
};

/** The age in a line of /proc/PID/stat. */
[[nodiscard]] ProcessAge ageFrom(const std::string& statLine);

/** The age of a process; none when it has ended, zombies included. */
[[nodiscard]] std::optional<ProcessAge> ageOfRunning(pid_t process);

/** The children of a process with one thread, zombies included; none when it has ended. */
[[nodiscard]] std::vector<pid_t> childrenOf(pid_t process);

}  // namespace sim
