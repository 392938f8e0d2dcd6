#pragma once

#include <string>

namespace explain {

/** The text of the exception that is being handled, whatever its class, without a line end. */
[[nodiscard]] std::string failureText();

}  // namespace explain
