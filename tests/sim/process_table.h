#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace sim {

/** When a process was started: earlier ones compare less, also when process ids begin anew. */
struct ProcessAge {
  unsigned long long ticks = 0;  ///< clock ticks since the machine's start
  pid_t pid = 0;

  bool operator==(const ProcessAge&) const = default;
  [[nodiscard]] bool operator<(const ProcessAge& other) const;
};

/** The age in a line of /proc/PID/stat. */
[[nodiscard]] ProcessAge ageFrom(const std::string& statLine);

/** The age of a process that has this id, zombies included; none when there is none. */
[[nodiscard]] std::optional<ProcessAge> ageOf(pid_t process);
/** Whether a process has this id that has not ended. */
[[nodiscard]] bool isRunning(pid_t process);

/** The children of a process with one thread, zombies included; none when it has ended. */
[[nodiscard]] std::vector<pid_t> childrenOf(pid_t process);

/** The numbers of a process's open descriptors, sorted; none when it has ended. */
[[nodiscard]] std::vector<int> openDescriptorsOf(pid_t process);

}  // namespace sim
