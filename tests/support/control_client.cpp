#include "support/control_client.h"

#include <sys/socket.h>

#include <array>

#include "sim/error.h"
#include "sim/unix_socket.h"

namespace support {

ControlClient::ControlClient(const std::string& socketPath) : socket_(sim::connectTo(socketPath)) {}

void ControlClient::send(std::string_view message) const {
  if (::send(socket_.get(), message.data(), message.size(), MSG_NOSIGNAL) == -1) {
    throw sim::systemError("sending to the control socket");
  }
}

void ControlClient::finish() const {
  shutdown(socket_.get(), SHUT_WR);
}

std::string ControlClient::received() const {
  std::string all;
  std::array<char, 1024> buffer{};
  for (ssize_t size = 0; (size = recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0;) {
    all.append(buffer.data(), static_cast<std::size_t>(size));
  }
  return all;
}

bool ControlClient::isDisconnected() const {
  char byte = 0;
  return recv(socket_.get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
}

}  // namespace support
