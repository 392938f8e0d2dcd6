#include "sim/uevent_sender.h"

#include <linux/netlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <sstream>

#include "sim/error.h"
#include "sim/files.h"

namespace sim {

namespace {

constexpr unsigned kernelGroup = 1;
constexpr int sendBuffer = 16 * 1024 * 1024;

void enlargeSendBuffer(int fd) {
  // Beyond the system's limit where that is allowed, else up to it.
  if (::setsockopt(fd, SOL_SOCKET, SO_SNDBUFFORCE, &sendBuffer, sizeof sendBuffer) != 0) {
    ::setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &sendBuffer, sizeof sendBuffer);
  }
}

/** One line of /proc/net/netlink, as far as it is of interest. */
struct NetlinkSocket {
  int protocol = 0;
  unsigned portId = 0;
  unsigned groups = 0;
  unsigned queuedBytes = 0;
  unsigned lost = 0;
};

NetlinkSocket parseNetlinkSocket(const std::string& line) {
  NetlinkSocket socket;
  std::string address;
  std::string sent;
  std::string dumping;
  std::string references;
  std::istringstream words(line);
  words >> address >> socket.protocol >> socket.portId >> std::hex >> socket.groups >> std::dec >>
      socket.queuedBytes >> sent >> dumping >> references >> socket.lost;
  return socket;
}

}  // namespace

UeventSender::UeventSender()
    : socket_(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT)) {
  if (!socket_.isOpen()) {
    throw systemError("socket(uevents)");
  }
  enlargeSendBuffer(socket_.get());
}

void UeventSender::send(const std::string& datagram) const {
  sockaddr_nl everyone{};
  everyone.nl_family = AF_NETLINK;
  everyone.nl_groups = kernelGroup;
  const ssize_t sent = ::sendto(socket_.get(), datagram.data(), datagram.size(), 0,
                                reinterpret_cast<const sockaddr*>(&everyone), sizeof everyone);
  // These two say that a network has no receiver at all, which is no error for a kernel.
  if (sent < 0 && errno != ECONNREFUSED && errno != ESRCH) {
    throw systemError("sending a uevent of " + std::to_string(datagram.size()) + " bytes");
  }
}

std::vector<UeventSender::Listener> UeventSender::listeners() {
  std::vector<Listener> found;
  std::istringstream table(readFile("/proc/net/netlink"));
  std::string line;
  std::getline(table, line);  // the headings
  while (std::getline(table, line)) {
    const NetlinkSocket socket = parseNetlinkSocket(line);
    if (socket.protocol == NETLINK_KOBJECT_UEVENT && socket.portId != 0 &&
        (socket.groups & kernelGroup) != 0) {
      found.push_back({socket.queuedBytes, socket.lost});
    }
  }
  return found;
}

}  // namespace sim
