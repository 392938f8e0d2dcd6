#include "examples/usbip/receiver/connection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "ulx/exceptions.h"

namespace usbip {
namespace {

constexpr std::chrono::seconds messageLimit{10};

bool mayGoOn(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

void waitUntilReady(const Connection& connection, short events, Clock::time_point deadline) {
  if (connection.termination().waitFor(connection.socket(), events, deadline) == 0) {
    throw ulx::StrException("the far side is silent");
  }
}

}  // namespace

Connection::Connection(int socket, std::string farEnd, const Termination& termination)
    : socket_(socket, true), farEnd_(std::move(farEnd)), termination_(termination) {
  const int flags = ::fcntl(socket, F_GETFL);
  if (flags == -1 || ::fcntl(socket, F_SETFL, flags | O_NONBLOCK) == -1) {
    ulx::throwErrno("fcntl(O_NONBLOCK)", errno);
  }
}

void Connection::send(std::span<const std::uint8_t> bytes) const {
  const Clock::time_point deadline = Clock::now() + messageLimit;
  while (!bytes.empty()) {
    waitUntilReady(*this, POLLOUT, deadline);
    const ssize_t sent = ::send(socket(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(sent));
    } else if (errno == EPIPE || errno == ECONNRESET) {
      return;
    } else if (!mayGoOn(errno)) {
      ulx::throwErrno("send()", errno);
    }
  }
}

void Connection::receive(std::span<std::uint8_t> bytes) const {
  const Clock::time_point deadline = Clock::now() + messageLimit;
  while (!bytes.empty()) {
    waitUntilReady(*this, POLLIN, deadline);
    const ssize_t received = ::recv(socket(), bytes.data(), bytes.size(), 0);
    if (received > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(received));
    } else if (received == 0 || errno == ECONNRESET) {
      throw ulx::StrException("the far side has closed the connection");
    } else if (!mayGoOn(errno)) {
      ulx::throwErrno("recv()", errno);
    }
  }
}

}  // namespace usbip
