#include "hotplug/uevent_socket.h"

#include <linux/netlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstddef>

#include "ctrl/messages.h"
#include "ulx/exceptions.h"

namespace {

constexpr std::uint32_t everyGroup = 0xFFFFFFFF;

// A ceiling for uevents that wait while a device is handled, which takes up to three seconds; memory is taken
// only for what waits. The kernel's default holds about 170 uevents, and losing one ends the daemon.
constexpr int receiveBufferBytes = 16 * 1024 * 1024;

// Longer than any uevent of the kernel: what a longer datagram took is not kept for ever.
constexpr std::size_t keptBytes = 16'384;

void enlargeReceiveBuffer(int fd) {
  // SO_RCVBUFFORCE exceeds the system-wide limit, but needs privilege.
  if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &receiveBufferBytes, sizeof receiveBufferBytes) == -1) {
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &receiveBufferBytes, sizeof receiveBufferBytes);
  }
}

}  // namespace

int openNetlinkSocket(int protocol, std::uint32_t portId, std::uint32_t groups) {
  const int fd = socket(PF_NETLINK, SOCK_DGRAM, protocol);
  if (fd == -1) {
    ulx::throwErrno("socket(PF_NETLINK)", errno);
  }
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_pid = portId;
  address.nl_groups = groups;
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1) {
    ulx::throwErrno("bind()", errno);
  }
  return fd;
}

NetlinkClientSocket::NetlinkClientSocket()
    : FileDescriptor(openNetlinkSocket(NETLINK_KOBJECT_UEVENT, 0, everyGroup), true) {
  setCloseOnExec();
  enlargeReceiveBuffer(fd());
}

const std::string& NetlinkClientSocket::recvfrom() {
  const ssize_t size = recv(fd(), nullptr, 0, MSG_PEEK | MSG_TRUNC);
  if (size == -1) {
    ulx::throwErrno({"recvfrom(", name(), ")"}, errno);
  }
  if (datagram_.capacity() > keptBytes) {
    std::string().swap(datagram_);
  }
  datagram_.assign(static_cast<std::size_t>(size), '\0');
  const ssize_t received = ::recvfrom(fd(), datagram_.data(), datagram_.size(), 0, nullptr, nullptr);
  if (received == -1) {
    ulx::throwErrno({"recvfrom(", name(), ")"}, errno);
  }
  if (received != size) {
    logError("warning, NetlinkClientSocket::recvfrom length disagrees with peek\n");
  }
  return datagram_;
}

UEvent NetlinkClientSocket::readUEvent() {
  return parseUEvent(recvfrom());
}
