#pragma once

#include <string>

namespace demo {

/** The text with each control character as \xNN. */
[[nodiscard]] std::string printable(const std::string& text);

/**
 * A command's argument as one would type it: as it is where that is clear, else between single quotes, so
 * that an empty one or one with blanks is seen.
 */
[[nodiscard]] std::string quoted(const std::string& argument);

}  // namespace demo
