#include "examples/usbip/transmitter/listener.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "ulx/exceptions.h"

namespace usbip {
namespace {

void setOption(const ulx::FileDescriptor& socket, int level, int option, int value, std::string_view name) {
  if (::setsockopt(socket.fd(), level, option, &value, sizeof value) != 0) {
    ulx::throwErrno({"setsockopt(", name, ")"}, errno);
  }
}

int openSocket() {
  constexpr int type = SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC;
  int socket = ::socket(AF_INET6, type, 0);
  if (socket == -1 && errno == EAFNOSUPPORT) {
    socket = ::socket(AF_INET, type, 0);
  }
  if (socket == -1) {
    ulx::throwErrno("socket()", errno);
  }
  return socket;
}

int familyOf(const ulx::FileDescriptor& socket) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (::getsockname(socket.fd(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    ulx::throwErrno("getsockname()", errno);
  }
  return address.ss_family;
}

template <class Address>
void bindTo(const ulx::FileDescriptor& socket, const Address& address) {
  if (::bind(socket.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ulx::throwErrno("bind()", errno);
  }
}

void bindToAllAddresses(const ulx::FileDescriptor& socket, std::uint16_t port) {
  if (familyOf(socket) == AF_INET6) {
    setOption(socket, IPPROTO_IPV6, IPV6_V6ONLY, 0, "IPV6_V6ONLY");
    sockaddr_in6 address{};  // its address is that for all
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    bindTo(socket, address);
  } else {
    sockaddr_in address{};  // as above
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    bindTo(socket, address);
  }
}

// A connection that broke before it was taken is nobody's failure; accept(2) lists these.
bool isOfTheConnection(int error) {
  switch (error) {
    case EAGAIN:
    case EINTR:
    case ECONNABORTED:
    case EPERM:
    case EPROTO:
    case ENETDOWN:
    case ENOPROTOOPT:
    case EHOSTDOWN:
    case ENONET:
    case EHOSTUNREACH:
    case EOPNOTSUPP:
    case ENETUNREACH:
      return true;
    default:
      return false;
  }
}

}  // namespace

Listener::Listener(std::uint16_t port) : socket_(openSocket(), true) {
  setOption(socket_, SOL_SOCKET, SO_REUSEADDR, 1, "SO_REUSEADDR");
  bindToAllAddresses(socket_, port);
  if (::listen(socket_.fd(), SOMAXCONN) != 0) {
    ulx::throwErrno("listen()", errno);
  }
}

std::optional<Connection> Listener::accept() const {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  const int socket =
      ::accept4(socket_.fd(), reinterpret_cast<sockaddr*>(&address), &length, SOCK_NONBLOCK | SOCK_CLOEXEC);
  if (socket == -1 && isOfTheConnection(errno)) {
    return {};
  }
  if (socket == -1) {
    ulx::throwErrno("accept()", errno);
  }
  auto descriptor = std::make_unique<ulx::FileDescriptor>(socket, true);
  return Connection{std::move(descriptor), peerAddressOf(address)};
}

}  // namespace usbip
