#pragma once

#include <sys/socket.h>

#include <string>

namespace usbip {

/** The address at the other end of a connection. */
struct PeerAddress {
  std::string text;      ///< numeric: "192.0.2.7", "2001:db8::7", "fe80::7%eth0"
  bool isLocal = false;  ///< whether it is an address of this machine for itself
};

/** An IPv4 address that a socket of IPv6 shows is an IPv4 address. Another family is "an unknown address". */
[[nodiscard]] PeerAddress peerAddressOf(const sockaddr_storage& address);

}  // namespace usbip
