#pragma once

#include <string>

#include "sim/link_manager.h"

namespace support {

/** The link of the units in these tests: no part of it is what a daemon or a person leaves out. */
inline sim::LinkParameters linkOfUnit(const std::string& speed) {
  return {.host = "receiver-7", .port = "6100", .speed = speed, .interface = "eth3"};
}

}  // namespace support
