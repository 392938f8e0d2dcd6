#include "support/control_client.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace support {

ControlClient::ControlClient(const std::string& socketPath)
    : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
  if (connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1) {
    throw std::system_error(errno, std::generic_category(), "connect " + socketPath);
  }
}

void ControlClient::send(std::string_view message) const {
  if (::send(socket_.get(), message.data(), message.size(), MSG_NOSIGNAL) == -1) {
    throw std::system_error(errno, std::generic_category(), "send");
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
