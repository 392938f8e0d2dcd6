#pragma once

#include <string>
#include <vector>

#include "examples/usbip/transmitter/virtual_ports.h"

namespace usbip {

/**
 * What is attached at `ports`, for a person: a headline, then a line for each. The names of the devices are read from
 * /sys/bus/usb/devices.
 */
[[nodiscard]] std::string listAttached(const std::vector<VirtualPort>& ports);

}  // namespace usbip
