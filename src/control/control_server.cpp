#include "control/control_server.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

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

/** While it lives, a file is made for its owner alone. */
class OwnerOnlyFiles {
 public:
  OwnerOnlyFiles() : formerMask_(umask(S_IXUSR | S_IRWXG | S_IRWXO)) {}
  OwnerOnlyFiles(const OwnerOnlyFiles&) = delete;
  OwnerOnlyFiles& operator=(const OwnerOnlyFiles&) = delete;
  ~OwnerOnlyFiles() { umask(formerMask_); }

 private:
  mode_t formerMask_;
};

void bindForOwner(int fd, const sockaddr_un& address) {
  const OwnerOnlyFiles ownerOnly;
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1) {
    ulx::throwErrno("bind()", errno);
  }
}

}  // namespace

ControlServer::ControlServer(const std::string& socketPath)
    : FileDescriptor(openSocket(), true), address_(addressOf(socketPath)) {
  if (fcntl(fd(), F_SETFD, FD_CLOEXEC) == -1) {
    ulx::throwErrno("fcntl(listenfd,F_SETFD,FD_CLOEXEC)", errno);
  }
  unlink(socketPath.c_str());
  bindForOwner(fd(), address_);
  if (listen(fd(), backlog) == -1) {
    ulx::throwErrno("listen()", errno);
  }
}

bool ControlServer::hasClient(int fd) const {
  sockaddr_un name{};
  socklen_t size = sizeof name;
  if (fd == this->fd() || getsockname(fd, reinterpret_cast<sockaddr*>(&name), &size) == -1) {
    return false;
  }
  // A socket without a name has a family only. The rest of `name` is zero then, as is the empty path's address.
  return size > sizeof name.sun_family && std::memcmp(&name, &address_, sizeof name) == 0;
}
