#pragma once

#include "examples/usbip/exchange/log.h"
#include "examples/usbip/receiver/command_line.h"
#include "examples/usbip/receiver/termination.h"

namespace usbip {

/**
 * Exports the device until it has gone, the link is lost, or somebody asks the program to end. Returns the program's exit
 * status; the log has a line on why.
 */
[[nodiscard]] int exportDevice(const Arguments& arguments, const Termination& termination, const Log& log);

}  // namespace usbip
