#include "control/control_server.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>

#include "ulx/exceptions.h"

namespace {

constexpr int backlog = 5;

int openSocket() {
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  if (fd == -1) {
    ulx::throwErrno("socket()", errno);
  }
  return fd;
}

sockaddr_un addressOf(const std::string& socketPath) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (socketPath.size() >= sizeof address.sun_path) {
    errno = EINVAL;
    ulx::throwErrno("bind()", EINVAL);
  }
  socketPath.copy(address.sun_path, socketPath.size());
  return address;
}

}  // namespace

ControlServer::ControlServer(const std::string& socketPath) : FileDescriptor(openSocket(), true) {
  if (fcntl(fd(), F_SETFD, FD_CLOEXEC) == -1) {
    ulx::throwErrno("fcntl(listenfd,F_SETFD,FD_CLOEXEC)", errno);
  }
  const sockaddr_un address = addressOf(socketPath);
  unlink(socketPath.c_str());
  if (bind(fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1) {
    ulx::throwErrno("bind()", errno);
  }
  if (listen(fd(), backlog) == -1) {
    ulx::throwErrno("listen()", errno);
  }
}
