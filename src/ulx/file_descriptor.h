#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "ulx/exceptions.h"
#include "ulx/mutex.h"

namespace ulx {

/** One file descriptor with looping readers and writers. Every failure is thrown with its call and name. */
class FileDescriptor {
 public:
  /** Thrown by the exact-length readers when the data ends too early; its message is "EOF". */
  class EndOfFile : public StrException {
   public:
    EndOfFile() : StrException("EOF") {}
  };

  /**
   * Opens `path` with the open(2) flags `flags` (mode 0666 for a new file), close-on-exec, owned.
   * Throws open("PATH") or fcntl("PATH",F_SETFD,FD_CLOEXEC).
   */
  FileDescriptor(const std::string& path, int flags);
  /** Adopts the descriptor number `fd`; with `owns` the destructor closes it. Its name is "fd" and the
   * number. */
  FileDescriptor(int fd, bool owns);
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor();

  [[nodiscard]] int fd() const { return fd_; }
  /** What error contexts call it: its path, or "fd7". */
  [[nodiscard]] const std::string& name() const { return name_; }

  /** Gives the descriptor away: the caller closes it. */
  int release();

  /** Keeps it from executed programs. Throws fcntl("NAME",F_SETFD,FD_CLOEXEC). */
  void setCloseOnExec() const;

  /** One read, resumed when a signal interrupts it. Bytes read, 0 at end of file. Throws read("NAME"). */
  std::size_t read(void* buffer, std::size_t length) const;
  /** One read of at most 8192 bytes; empty at end of file. */
  [[nodiscard]] std::string readSome() const;
  /** Everything up to end of file. */
  [[nodiscard]] std::string readAll() const;
  /** Exactly `length` bytes. Throws EndOfFile when they end earlier; what came is consumed. */
  void readExact(void* buffer, std::size_t length) const;
  void readByte(std::uint8_t& byte) const;
  /** Exactly the 18 bytes of a USB device descriptor (USB 2.0, table 9-8). */
  void readDeviceDescriptor(std::span<std::uint8_t, 18> buffer) const;

  /** One write, not resumed when interrupted. Bytes written. Throws write("NAME"). */
  std::size_t write(const void* buffer, std::size_t length);
  /** Writes until every byte is written. */
  void writeAll(const void* buffer, std::size_t length);
  void writeByte(std::uint8_t byte);

  /** Whether each single write is made under a lock; writeAll may still interleave between its writes. */
  bool serialiseWrites = false;

 private:
  FileDescriptor(int fd, std::string name, bool owns);

  int fd_;
  std::string name_;
  bool owns_;
  Mutex writeMutex_;
};

}  // namespace ulx
