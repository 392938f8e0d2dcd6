#pragma once

#include <string>
#include <vector>

namespace sim {

/**
 * The command that starts a program of the project: the one that the environment variable `variable` names,
 * else `built`, the one of this build. The words of SIM_PROGRAM_PREFIX (divided by blanks) come before it,
 * for instance an emulator.
 */
[[nodiscard]] std::vector<std::string> commandOf(const char* variable, const std::string& built);

}  // namespace sim
