#pragma once

#include <cstdint>
#include <string>

#include "hotplug/uevent.h"
#include "ulx/file_descriptor.h"

/**
 * A netlink datagram socket of `protocol`, bound to `portId` (0: the kernel assigns one) and the multicast
 * groups of the mask `groups`. The caller owns the descriptor. Throws "socket(PF_NETLINK)" or "bind()"; the
 * descriptor stays open after the latter, since the program ends with it.
 */
int openNetlinkSocket(int protocol, std::uint32_t portId, std::uint32_t groups);

/** Where the kernel announces devices: one datagram for each uevent. */
class NetlinkClientSocket : public ulx::FileDescriptor {
 public:
  /** Listens to every group of the kernel's uevents. Throws as openNetlinkSocket. */
  NetlinkClientSocket();

  /**
   * Waits for a datagram and returns it whole, NUL bytes included, however long it is. It is valid until the next
   * call. Throws recvfrom(NAME), with ENOBUFS when the kernel has dropped uevents because the receive buffer was full.
   */
  [[nodiscard]] const std::string& recvfrom();

  /** Receives one datagram and splits it. The event is valid until the next datagram is received. */
  [[nodiscard]] UEvent readUEvent();

 private:
  std::string datagram_;  // the latest; its memory takes the next one, if it is not very long
};
