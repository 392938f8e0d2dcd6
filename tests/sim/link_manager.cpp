#include "sim/link_manager.h"

#include <sys/inotify.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <filesystem>

#include "sim/error.h"
#include "sim/file_watch.h"
#include "sim/unix_socket.h"
#include "sim/wait.h"

namespace sim {

namespace {

// No event shows when the daemon, which has bound the socket, listens at it.
constexpr double secondsBetweenTries = 0.005;

bool tryToConnect(const Descriptor& socket, const sockaddr_un& address) {
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    return true;
  }
  if (errno != ENOENT && errno != ECONNREFUSED) {
    throw systemError(std::string("connect(") + address.sun_path + ")");
  }
  return false;
}

}  // namespace

std::string LinkParameters::line() const {
  return host + " " + port + " " + speed + " " + interface + " " + inkey + " " + outkey;
}

LinkManager::LinkManager(const std::string& path, const Deadline& deadline)
    : connection_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const sockaddr_un address = unixAddress(path);
  const FileWatch made(std::filesystem::path(path).parent_path(), IN_CREATE);
  while (!tryToConnect(connection_, address)) {
    if (deadline.passed()) {
      throw TimedOut("the control socket " + path);
    }
    serveBackground(deadline.atMost(secondsBetweenTries));
  }
}

void LinkManager::send(const std::string& bytes) {
  if (::send(connection_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(bytes.size())) {
    throw systemError("sending to the control socket");
  }
}

std::string LinkManager::receive(const Deadline& deadline) {
  if (!waitReadable(connection_.get(), deadline)) {
    throw TimedOut("an answer on the control socket");
  }
  std::array<char, 65536> buffer{};
  const ssize_t length = ::recv(connection_.get(), buffer.data(), buffer.size(), 0);
  if (length < 0) {
    throw systemError("receiving from the control socket");
  }
  return {buffer.data(), static_cast<std::size_t>(length)};
}

std::string LinkManager::receiveAll(const Deadline& deadline) {
  std::string all;
  for (std::string part = receive(deadline); !part.empty(); part = receive(deadline)) {
    all += part;
  }
  return all;
}

void LinkManager::halfClose() {
  ::shutdown(connection_.get(), SHUT_WR);
}

}  // namespace sim
