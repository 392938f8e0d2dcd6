#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "examples/usbip/transmitter/peer_address.h"
#include "ulx/file_descriptor.h"

namespace usbip {

/** A connection that somebody has made. Its socket does not block. */
struct Connection {
  std::unique_ptr<ulx::FileDescriptor> socket;
  PeerAddress peer;
};

/** A TCP port of this machine, at all of its addresses: of IPv6 and IPv4, or of IPv4 where there is no IPv6. */
class Listener {
 public:
  /** Throws socket(), setsockopt(SO_REUSEADDR), setsockopt(IPV6_V6ONLY), bind(), listen(). */
  explicit Listener(std::uint16_t port);

  [[nodiscard]] int fd() const { return socket_.fd(); }
  /** The next connection, or nothing when nobody waits or who did has gone again. Throws accept(). */
  [[nodiscard]] std::optional<Connection> accept() const;

 private:
  ulx::FileDescriptor socket_;
};

}  // namespace usbip
