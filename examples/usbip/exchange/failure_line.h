#pragma once

#include <string>

#include "ulx/exceptions.h"

namespace usbip {

/** The text of a failure, for a line of a log. */
[[nodiscard]] std::string failureLine(const ulx::Exception& failure);

}  // namespace usbip
