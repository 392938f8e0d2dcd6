#include "sim/unix_socket.h"

#include <sys/socket.h>

#include "sim/error.h"

namespace sim {

sockaddr_un unixAddress(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    throw Error("too long for a socket: " + path);
  }
  path.copy(address.sun_path, path.size());
  return address;
}

Descriptor bindTo(const std::string& path, int type) {
  const sockaddr_un address = unixAddress(path);
  Descriptor socket(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket.isOpen() ||
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw systemError("listening at " + path);
  }
  return socket;
}

Descriptor connectTo(const std::string& path) {
  const sockaddr_un address = unixAddress(path);
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket.isOpen() ||
      ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw systemError("connecting to " + path);
  }
  return socket;
}

}  // namespace sim
