#pragma once

#include <sys/socket.h>

#include <string>
#include <vector>

#include "examples/usbip/receiver/termination.h"

namespace usbip {

/** Where a TCP connection may lead to. */
struct Address {
  sockaddr_storage bytes{};  ///< as connect(2) takes them, with the family
  socklen_t size = 0;
  std::string text;  ///< for a log: "192.0.2.1 port 5000"
};

/**
 * All addresses of a host in the order in which to try them; one at least. `host` is a name or an address, `port` a number.
 * A lookup has no deadline: meanwhile the signals of `termination` end the program at once. Throws a ulx::StrException
 * that says why there is none.
 */
[[nodiscard]] std::vector<Address> addressesOf(const std::string& host, const std::string& port,
                                               const Termination& termination);

}  // namespace usbip
