#pragma once

#include <optional>
#include <string>

namespace recorder {

/**
 * The content of a sysfs attribute; none where it is not there or its driver has no answer (the speed of a
 * network without a cable). Throws Error when this process may not read it.
 */
[[nodiscard]] std::optional<std::string> readAttribute(const std::string& path);

/** The same as a text without the newline at its end; empty where there is none. */
[[nodiscard]] std::string attributeText(const std::string& path);

}  // namespace recorder
