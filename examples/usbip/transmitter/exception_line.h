#pragma once

#include <string>

#include "ulx/exceptions.h"

namespace usbip {

/** The text of an exception without its line end, for a log. */
[[nodiscard]] std::string lineOf(const ulx::Exception& exception);

}  // namespace usbip
