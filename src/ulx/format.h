#pragma once

#include <string>

namespace ulx {

/** printf into a string. Throws the bare text "vasprintf failed" when formatting fails. */
[[gnu::format(printf, 1, 2)]] std::string formatString(const char* format, ...);

}  // namespace ulx
