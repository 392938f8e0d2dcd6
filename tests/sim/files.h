#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace sim {

/** The whole content of a file; throws Error when it cannot be read. */
[[nodiscard]] std::string readFile(const std::string& path);

/** Makes the file, or replaces its content; the directories above it are made where they are missing. */
void writeFile(const std::string& path, const std::string& content);

/**
 * The paths of all that a directory holds, in no order; throws Error when it cannot be read. The standard
 * library's own iterator finds nothing in a 32-bit program under an emulator: it asks for positions of 32
 * bits.
 */
[[nodiscard]] std::vector<std::filesystem::path> entriesOf(const std::filesystem::path& directory);

}  // namespace sim
