#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/contender.h"

namespace bench {

using Contenders = std::vector<std::unique_ptr<Contender>>;

/** The name of a column and the file of the daemon's program that it is about. */
using NamedDaemon = std::pair<std::string, std::string>;

/** The daemons, then what they are compared with: the project's own programs, and foreign ones. */
[[nodiscard]] Contenders allContenders(const std::vector<NamedDaemon>& daemons);

}  // namespace bench
