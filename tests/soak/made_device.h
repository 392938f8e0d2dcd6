#pragma once

#include <string>

#include "sim/synthetic_device.h"
#include "soak/random.h"

namespace soak {

/** A device made up of interfaces and endpoints of any kind; its descriptors may be damaged. */
[[nodiscard]] sim::UsbDevice randomDevice(Random& random, int port);
/** A device of this port with usual descriptors. */
[[nodiscard]] sim::UsbDevice usualDevice(Random& random, int port, const std::string& descriptors);
[[nodiscard]] std::string randomProduct(Random& random);

}  // namespace soak
