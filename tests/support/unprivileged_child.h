#pragma once

#include <functional>
#include <string>

namespace support {

/**
 * Runs `body` in a forked child to which permissions apply as to any user, even if the test runs as root.
 * Returns what `body` returned; throws std::runtime_error when the child ended in any other way.
 */
std::string reportOfUnprivilegedChild(const std::function<std::string()>& body);

}  // namespace support
