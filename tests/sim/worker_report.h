#pragma once

#include <sys/types.h>

#include <set>
#include <string>
#include <vector>

#include "sim/process_table.h"

namespace sim {

/** A descriptor that a worker found open at its start. */
struct OpenDescriptor {
  int number;
  std::string target;  ///< as /proc shows it: a path, "socket:[...]", "pipe:[...]"

  bool operator==(const OpenDescriptor&) const = default;
};

/** How a worker was started, as it saw it itself before it did anything else. */
struct WorkerStart {
  pid_t pid = 0;
  ProcessAge age;
  pid_t parent = 0;
  std::vector<std::string> arguments;  ///< with argument 0; exact, empty ones included
  std::vector<std::string> environment;
  std::vector<OpenDescriptor> descriptors;  ///< in ascending order of their numbers
  int parentDeathSignal = 0;                ///< 0 for none
  std::set<int> blockedSignals;
  std::set<int> ignoredSignals;
  std::set<int> caughtSignals;
  std::string workingDirectory;
};

/**
 * Takes a stand-in's report from its connection. Throws Error when the connection ends before the report does
 * (the worker was killed meanwhile), TimedOut when it does not come.
 */
[[nodiscard]] WorkerStart receiveReport(int connection);

}  // namespace sim
