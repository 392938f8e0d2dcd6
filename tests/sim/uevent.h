#pragma once

#include <string>
#include <utility>
#include <vector>

namespace sim {

using UeventPairs = std::vector<std::pair<std::string, std::string>>;

/**
 * The datagram of a uevent: ACTION@DEVPATH, then the items ACTION, DEVPATH and the pairs in their order, each
 * ended by a NUL.
 */
[[nodiscard]] std::string uevent(const std::string& action, const std::string& devpath,
                                 const UeventPairs& pairs = {});
/** The action and the devpath of a datagram. */
[[nodiscard]] std::pair<std::string, std::string> headOf(const std::string& datagram);

}  // namespace sim
