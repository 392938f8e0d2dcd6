#pragma once

#include <string>

#include "sim/workers.h"

namespace sim {

/**
 * Takes a stand-in's report from its connection. Throws Error when the connection ends before the report does
 * (the worker was killed meanwhile), TimedOut when it does not come.
 */
[[nodiscard]] WorkerStart receiveReport(int connection);

}  // namespace sim
