#pragma once

#include <string>

namespace support {

/** Lets this network's machine reach itself, as 127.0.0.1 and ::1. Throws sim::Error. */
void bringUpLoopback();

/** Gives it an IPv4 address more, as which it reaches itself, too: "192.0.2.1". Throws sim::Error. */
void addAddress(const std::string& address);

}  // namespace support
