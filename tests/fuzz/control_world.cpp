#include "fuzz/control_world.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

#include "fuzz/check.h"
#include "sim/unix_socket.h"

namespace fuzz {

namespace {

constexpr const char* otherSocketPath = "/sim/other";

// The same, at a number beyond those of the daemon.
sim::Descriptor movedAway(const sim::Descriptor& descriptor) {
  sim::Descriptor moved(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, firstForeignNumber));
  check(moved.isOpen(), "a descriptor can be moved");
  return moved;
}

std::pair<sim::Descriptor, sim::Descriptor> connectedPair(int type) {
  std::array<int, 2> ends{};
  check(socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends.data()) == 0, "sockets can be made");
  return {sim::Descriptor(ends[0]), sim::Descriptor(ends[1])};
}

// A connection that another socket with a name has accepted.
std::pair<sim::Descriptor, sim::Descriptor> acceptedConnection() {
  static const sim::Descriptor listener = [] {
    sim::Descriptor made = movedAway(sim::bindTo(otherSocketPath, SOCK_STREAM));
    check(listen(made.get(), 1) == 0, "another socket listens");
    return made;
  }();
  sim::Descriptor other = movedAway(sim::connectTo(otherSocketPath));
  return {sim::Descriptor(accept(listener.get(), nullptr, nullptr)), std::move(other)};
}

std::pair<sim::Descriptor, sim::Descriptor> foreignConnection(unsigned kind) {
  constexpr unsigned kinds = 3;
  switch (kind % kinds) {
    case 0:
      return connectedPair(SOCK_STREAM);
    case 1:
      return connectedPair(SOCK_DGRAM);
    default:
      return acceptedConnection();
  }
}

}  // namespace

std::vector<int> openNumbers() {
  std::vector<int> open;
  for (int fd = 0; fd < firstForeignNumber; ++fd) {
    if (fcntl(fd, F_GETFD) != -1) {
      open.push_back(fd);
    }
  }
  return open;
}

ControlSocketClient::ControlSocketClient(const std::string& socketPath)
    : socket_(movedAway(sim::connectTo(socketPath))) {}

void ControlSocketClient::send(const std::string& text) {
  if (hasFinished_ || hasLeft()) {
    return;
  }
  if (::send(socket_.get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL) ==
      static_cast<ssize_t>(text.size())) {
    said_ += text;
  }
}

void ControlSocketClient::finish() {
  hasFinished_ = true;
  shutdown(socket_.get(), SHUT_WR);
}

void ControlSocketClient::leave() {
  socket_.close();
}

const std::string& ControlSocketClient::heard() {
  std::array<char, 1024> buffer{};
  ssize_t size = 0;
  while ((size = recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0) {
    heard_.append(buffer.data(), static_cast<std::size_t>(size));
  }
  isDisconnected_ = isDisconnected_ || size == 0 || errno != EAGAIN;
  return heard_;
}

ForeignConnection::ForeignConnection(unsigned kind) : ForeignConnection(foreignConnection(kind)) {}

ForeignConnection::ForeignConnection(std::pair<sim::Descriptor, sim::Descriptor> ends)
    : daemonEnd_(std::move(ends.first)), otherEnd_(movedAway(ends.second)) {}

bool ForeignConnection::isUntouched() const {
  char byte = 0;
  return recv(otherEnd_.get(), &byte, 1, MSG_DONTWAIT) == -1 && errno == EAGAIN;
}

}  // namespace fuzz
