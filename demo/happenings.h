#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sim/process.h"

namespace demo {

using CommandLine = std::vector<std::string>;

/** What has happened on the unit, each kind in the order in which it was seen. */
struct Happenings {
  std::vector<std::string> daemonLines;     ///< without time; those on events passed over are left out
  std::vector<CommandLine> startedWorkers;  ///< with argument 0
  std::vector<std::string> endedWorkers;    ///< argument 0 of each
  std::vector<std::string> display;         ///< without newlines
  std::vector<std::string> answers;         ///< to queries on the control socket
  std::optional<sim::ProcessEnd> endOfDaemon;
};

}  // namespace demo
