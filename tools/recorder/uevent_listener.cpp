#include "tools/recorder/uevent_listener.h"

#include <linux/netlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "sim/error.h"

namespace sim {

namespace {

constexpr unsigned kernelGroup = 1;
constexpr int receiveBuffer = 16 * 1024 * 1024;
constexpr std::size_t longestEvent = 64 * 1024UL;

void enlargeReceiveBuffer(int fd) {
  // Beyond the system's limit where that is allowed, else up to it.
  if (::setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &receiveBuffer, sizeof receiveBuffer) != 0) {
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  }
}

Descriptor openedSocket() {
  Descriptor socket(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT));
  if (!socket.isOpen()) {
    throw systemError("socket(uevents)");
  }
  enlargeReceiveBuffer(socket.get());
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = kernelGroup;
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw systemError("bind(uevents)");
  }
  return socket;
}

}  // namespace

UeventListener::UeventListener()
    : socket_(openedSocket()), receiving_(socket_.get(), [this] { receive(); }) {}

std::vector<HeardEvent> UeventListener::take() {
  return std::exchange(heard_, {});
}

void UeventListener::receive() {
  std::string datagram(longestEvent, '\0');
  const ssize_t size = ::recv(socket_.get(), datagram.data(), datagram.size(), MSG_DONTWAIT);
  if (size >= 0) {
    datagram.resize(static_cast<std::size_t>(size));
    heard_.push_back({std::chrono::steady_clock::now(), std::move(datagram)});
  } else if (errno == ENOBUFS) {
    throw Error("uevents were lost: there were more than could be taken");
  } else if (errno != EAGAIN && errno != EINTR) {
    throw systemError("receiving uevents");
  }
}

}  // namespace sim
