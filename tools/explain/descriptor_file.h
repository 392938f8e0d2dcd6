#pragma once

#include <string>

namespace explain {

/**
 * The descriptors in a file: its bytes, or those that it writes as pairs of hexadecimal digits. Throws Error for any
 * other text, and for what is empty or too long to be descriptors; and what cannot be read.
 */
[[nodiscard]] std::string readDescriptorFile(const std::string& path);

/** The bytes that a text writes in hexadecimal, as reports do it. Throws Error for any other text. */
[[nodiscard]] std::string bytesOfDump(const std::string& text);

}  // namespace explain
