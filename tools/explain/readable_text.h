#pragma once

#include <string>

namespace explain {

/**
 * The text as valid UTF-8 that a terminal shows and does not obey: bytes that are none become U+FFFD, and control
 * characters "\xNN". What changes the direction of writing becomes "\uNNNN", so that no text looks like another.
 */
[[nodiscard]] std::string readable(const std::string& text);

/** The text as a JSON string with its quotes (RFC 8259, 7). */
[[nodiscard]] std::string jsonString(const std::string& text);

}  // namespace explain
