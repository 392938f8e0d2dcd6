#pragma once

#include <sys/un.h>

#include <string>

#include "ulx/file_descriptor.h"

/** The daemon's listening control socket. */
class ControlServer : public ulx::FileDescriptor {
 public:
  /**
   * Listens at `socketPath`; a file that is there is removed first. The new one is its owner's alone, whatever
   * the umask; the empty path has no file, and so no owner. Throws "socket()", "fcntl(listenfd,F_SETFD,FD_CLOEXEC)", "bind()" (EINVAL for a path that no
   * socket address can hold) or "listen()".
   */
  explicit ControlServer(const std::string& socketPath);

  /** Whether `fd`, which may be any number, is a connection that was accepted here. */
  [[nodiscard]] bool hasClient(int fd) const;

 private:
  sockaddr_un address_;
};

/**
 * The connection of the client that delivered the link parameters in force. It is not closed with this
 * object: when a later client takes its place, its own client still sees a connection, not an end. A replaced
 * one is closed when its client has gone (`RxCtrl::replacedConnections`).
 */
class ControlConnection : public ulx::FileDescriptor {
 public:
  explicit ControlConnection(int fd) : FileDescriptor(fd, false) {}
};
