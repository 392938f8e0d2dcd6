#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "ulx/exceptions.h"
#include "ulx/mutex.h"

namespace ulx {

/** One file descriptor with looping readers and writers. Failures are thrown with the call and the name. */
class FileDescriptor {
 public:
  /** The exact-length readers throw it when the data ends too early; its message is "EOF". */
  class EndOfFile : public StrException {
   public:
    EndOfFile() : StrException("EOF") {}
  };

  /**
   * Opens `path` with the open(2) flags `flags` (mode 0666 for a new file), close-on-exec, owned.
   * Throws open("PATH") or fcntl("PATH",F_SETFD,FD_CLOEXEC).
   */
  FileDescriptor(std::string path, int flags);
  /** Adopts `fd`; with `owns`, the destructor closes it, as does a failure here. Its name is "fd" and the number. */
  FileDescriptor(int fd, bool owns);
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor();

  /** Everything in the file at `path`, or nothing where there is none. Throws open("PATH") or read("PATH"). */
  static std::optional<std::string> contentOf(const std::string& path);

  [[nodiscard]] int fd() const { return fd_; }
  /** Its name in error contexts: its path, or "fd7". */
  [[nodiscard]] const std::string& name() const { return name_; }

  /** Returns the descriptor, which the caller owns from then on. */
  int release();

  /** Has it closed in executed programs. Throws fcntl("NAME",F_SETFD,FD_CLOEXEC). */
  void setCloseOnExec() const;

  /** One read, resumed after signals. Returns the bytes read, 0 at end of file. Throws read("NAME"). */
  std::size_t read(void* buffer, std::size_t length) const;
  /** One read of at most 8192 bytes; empty at end of file. */
  [[nodiscard]] std::string readSome() const;
  /** Everything up to end of file. */
  [[nodiscard]] std::string readAll() const;
  /** Exactly `length` bytes. Throws EndOfFile when the data ends earlier; the bytes read are consumed. */
  void readExact(void* buffer, std::size_t length) const;
  void readByte(std::uint8_t& byte) const;
  /** Exactly the 18 bytes of a USB device descriptor (USB 2.0, table 9-8): for programs that need no more of it. */
  void readDeviceDescriptor(std::span<std::uint8_t, 18> buffer) const;

  /** One write, not resumed after signals. Returns the bytes written. Throws write("NAME"). */
  std::size_t write(const void* buffer, std::size_t length);
  /** Writes until every byte is written. */
  void writeAll(const void* buffer, std::size_t length);
  void writeByte(std::uint8_t byte);

  /**
   * Whether each single write holds a lock; the writes of two writeAll calls may still interleave.
   * Nothing in the product sets it: it is for programs whose threads share a descriptor.
   */
  bool serialiseWrites = false;

 private:
  FileDescriptor(int fd, std::string name, bool owns);
  void own(int fd);

  int fd_;
  std::string name_;
  bool owns_;
  Mutex writeMutex_;  // for serialiseWrites
};

}  // namespace ulx
