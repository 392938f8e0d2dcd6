#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <initializer_list>
#include <optional>

#include "ulx/file_descriptor.h"
#include "ulx/pipe.h"
#include "ulx/wait.h"

/** A pipe whose read end is ready. */
class ReadyPipe {
 public:
  ReadyPipe() { pipe_.writeEnd.writeByte('x'); }

  [[nodiscard]] const ulx::FileDescriptor& reader() const { return pipe_.readEnd; }
  [[nodiscard]] const ulx::FileDescriptor& writer() const { return pipe_.writeEnd; }
  /** Nothing is left to be read. */
  void empty() const { static_cast<void>(pipe_.readEnd.readSome()); }

 private:
  ulx::Pipe pipe_;
};

/** A loopback connection whose receiver has urgent data: an exceptional condition. */
class UrgentConnection {
 public:
  UrgentConnection() {
    const ulx::FileDescriptor listener(socket(AF_INET, SOCK_STREAM, 0), true);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    bind(listener.fd(), generic, size);
    listen(listener.fd(), 1);
    getsockname(listener.fd(), generic, &size);
    sender_.emplace(socket(AF_INET, SOCK_STREAM, 0), true);
    connect(sender_->fd(), generic, size);
    receiver_.emplace(accept(listener.fd(), nullptr, nullptr), true);
    send(sender_->fd(), "!", 1, MSG_OOB);
  }

  [[nodiscard]] int receiver() const { return receiver_->fd(); }

 private:
  std::optional<ulx::FileDescriptor> sender_;
  std::optional<ulx::FileDescriptor> receiver_;
};

/** A further number for an open descriptor, not below `lowest`. */
class Duplicate {
 public:
  Duplicate(int fd, int lowest) : duplicate_(fcntl(fd, F_DUPFD, lowest), true) {}
  [[nodiscard]] int fd() const { return duplicate_.fd(); }

 private:
  ulx::FileDescriptor duplicate_;
};

/** Sets that watch `fds` for reading. */
inline ulx::FdSetRecord readersOf(std::initializer_list<int> fds) {
  ulx::FdSetRecord sets;
  for (const int fd : fds) {
    sets.addReader(fd);
  }
  return sets;
}

/** A wait that goes wrong ends the test instead of hanging it. */
inline int waitUpToAMinute(ulx::FdSetRecord& sets) {
  timeval timeout{.tv_sec = 60, .tv_usec = 0};
  return ulx::waitReady(sets, &timeout);
}
