#pragma once

#include <optional>
#include <string>

namespace support {

/*
 * Root is exempt from some limits. A test of such a limit goes on as an ordinary user in a process of its own
 * (a death test's), as which it may then make its unit.
 */

/** Why no unit can be made as an ordinary user here; nothing where it can. */
[[nodiscard]] std::optional<std::string> obstacleToOrdinaryUser();

/** Turns this process into an ordinary user's, for good, if it is root's. Throws sim::Error. */
void becomeOrdinaryUser();

}  // namespace support
