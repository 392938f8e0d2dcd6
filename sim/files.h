#pragma once

#include <string>

namespace sim {

/** The whole content of a file; throws Error when it cannot be read. */
[[nodiscard]] std::string readFile(const std::string& path);

/** Makes the file, or replaces its content; the directories above it are made where they are missing. */
void writeFile(const std::string& path, const std::string& content);

}  // namespace sim
