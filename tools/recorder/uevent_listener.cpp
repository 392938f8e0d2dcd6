#include "tools/recorder/uevent_listener.h"

#include <linux/netlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "tools/recorder/error.h"
#include "ulx/wait.h"

namespace recorder {

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kernelGroup = 1;
constexpr int receiveBuffer = 16 * 1024 * 1024;
constexpr std::size_t longestEvent = 64 * 1024UL;

void enlargeReceiveBuffer(int fd) {
  // Beyond the system's limit where that is allowed, else up to it.
  if (::setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &receiveBuffer, sizeof receiveBuffer) != 0) {
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  }
}

void listenTo(int fd) {
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = kernelGroup;
  if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw systemError("bind(uevents)", errno);
  }
}

int openedSocket() {
  const int fd = ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT);
  if (fd < 0) {
    throw systemError("socket(uevents)", errno);
  }
  return fd;
}

ulx::FdSetRecord reading(const ulx::FileDescriptor& socket) {
  ulx::FdSetRecord sets;
  sets.addReader(socket.fd());
  return sets;
}

bool isReadableBy(const ulx::FileDescriptor& socket, Clock::time_point deadline) {
  const std::chrono::duration<float> left = deadline - Clock::now();
  return ulx::waitForFd(reading(socket), std::max(left.count(), 0.0F)) == socket.fd();
}

}  // namespace

UeventListener::UeventListener() : socket_(openedSocket(), true) {
  enlargeReceiveBuffer(socket_.fd());
  listenTo(socket_.fd());
}

bool UeventListener::waitForEvents(Clock::time_point deadline) {
  while (heard_.empty() && isReadableBy(socket_, deadline)) {
    receive();
  }
  return !heard_.empty();
}

std::vector<HeardEvent> UeventListener::take() {
  return std::exchange(heard_, {});
}

void UeventListener::receive() {
  std::string datagram(longestEvent, '\0');
  const ssize_t size = ::recv(socket_.fd(), datagram.data(), datagram.size(), MSG_DONTWAIT);
  if (size >= 0) {
    datagram.resize(static_cast<std::size_t>(size));
    heard_.push_back({Clock::now(), std::move(datagram)});
  } else if (errno == ENOBUFS) {
    throw Error("uevents were lost: there were more than could be taken");
  } else if (errno != EAGAIN && errno != EINTR) {
    throw systemError("receiving uevents", errno);
  }
}

}  // namespace recorder
