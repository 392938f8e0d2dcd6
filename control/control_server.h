#pragma once

#include <string>

#include "ulx/file_descriptor.h"

/** Where the daemon listens unless it is told otherwise; workers assume the same. */
inline constexpr const char* defaultSocketPath = "/var/run/usb_rx";

/** The daemon's listening control socket. */
class ControlServer : public ulx::FileDescriptor {
 public:
  /**
   * Listens at `socketPath`, in the place of whatever file is there. Throws "socket()",
   * "fcntl(listenfd,F_SETFD,FD_CLOEXEC)", "bind()" (EINVAL for a path that no socket address can hold) or
   * "listen()".
   */
  explicit ControlServer(const std::string& socketPath);
};

/**
 * The connection of the client that delivered the link parameters in force. It stays open until the process
 * ends, also when a later client's takes its place: that client has to see a connection, not an end.
 */
class ControlConnection : public ulx::FileDescriptor {
 public:
  explicit ControlConnection(int fd) : FileDescriptor(fd, false) {}
};
