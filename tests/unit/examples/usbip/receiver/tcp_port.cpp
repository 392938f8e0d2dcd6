#include "unit/examples/usbip/receiver/tcp_port.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <memory>

#include "sim/error.h"

namespace {

void expect(int result, const std::string& call) {
  if (result != 0) {
    throw sim::systemError(call);
  }
}

struct Free {
  void operator()(addrinfo* address) const { ::freeaddrinfo(address); }
};

std::unique_ptr<addrinfo, Free> numericAddress(const std::string& address, const std::string& number) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  if (::getaddrinfo(address.c_str(), number.c_str(), &hints, &found) != 0) {
    throw sim::Error("no address: " + address);
  }
  return std::unique_ptr<addrinfo, Free>(found);
}

struct BoundAddress {
  explicit BoundAddress(int socket) {
    expect(::getsockname(socket, reinterpret_cast<sockaddr*>(&bytes), &size), "getsockname()");
  }
  sockaddr_storage bytes{};
  socklen_t size = sizeof bytes;
};

std::string numberOf(int socket) {
  const BoundAddress address(socket);
  std::array<char, NI_MAXSERV> number{};
  ::getnameinfo(reinterpret_cast<const sockaddr*>(&address.bytes), address.size, nullptr, 0, number.data(),
                number.size(), NI_NUMERICSERV);
  return number.data();
}

}  // namespace

TcpPort::TcpPort(const std::string& address, const std::string& number) {
  const auto found = numericAddress(address, number);
  socket_ = sim::Descriptor(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  expect(::bind(socket_.get(), found->ai_addr, found->ai_addrlen), "bind(" + address + ")");
  number_ = numberOf(socket_.get());
}

void TcpPort::listen() const {
  expect(::listen(socket_.get(), 8), "listen()");
}

// A listener whose queue is full drops what comes further.
void TcpPort::ignoreEverybody() {
  expect(::listen(socket_.get(), 0), "listen()");
  for (int i = 0; i < 3; ++i) {
    waiting_.push_back(connectWithoutWaiting());
  }
}

sim::Descriptor TcpPort::accept() const {
  return sim::Descriptor(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

sim::Descriptor TcpPort::connectWithoutWaiting() const {
  const BoundAddress address(socket_.get());
  sim::Descriptor socket(::socket(address.bytes.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  static_cast<void>(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address.bytes), address.size));
  return socket;
}
