#include "unit/examples/usbip/receiver/far_side.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include <stdexcept>

namespace {

std::array<int, 2> connectedEnds() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::runtime_error("socketpair");
  }
  return ends;
}

}  // namespace

FarSide::FarSide() : FarSide(connectedEnds()) {}

FarSide::FarSide(std::array<int, 2> ends)
    : connection_(ends[0], "192.0.2.1 port 5000", termination_), socket_(ends[1]) {}

void FarSide::say(std::span<const std::uint8_t> bytes) const {
  if (::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("the worker does not take what the far side says");
  }
}

std::vector<std::uint8_t> FarSide::hear(std::size_t count) const {
  std::vector<std::uint8_t> bytes(count);
  const ssize_t heard = ::recv(socket_, bytes.data(), count, MSG_WAITALL);
  if (heard < 0) {
    throw std::runtime_error("the far side cannot hear the worker");
  }
  bytes.resize(static_cast<std::size_t>(heard));
  return bytes;
}

void FarSide::fallSilent() const {
  ::shutdown(socket_, SHUT_WR);
}

void FarSide::leave() {
  ::close(socket_);
  socket_ = -1;
}

std::size_t FarSide::unread() const {
  int count = 0;
  if (::ioctl(connection_.socket(), FIONREAD, &count) != 0) {
    throw std::runtime_error("FIONREAD");
  }
  return static_cast<std::size_t>(count);
}
