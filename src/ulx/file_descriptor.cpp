#include "ulx/file_descriptor.h"

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <utility>

namespace ulx {
namespace {

constexpr std::size_t readSomeLimit = 8192;
constexpr mode_t newFileMode = 0666;

int openPath(const std::string& path, int flags) {
  const int fd = ::open(path.c_str(), flags, newFileMode);
  if (fd == -1) {
    throwErrno({"open(\"", path, "\")"}, errno);
  }
  return fd;
}

}  // namespace

// It opens when all else that can fail is done. The delegated constructor has run by then, so a failed
// setCloseOnExec() closes the descriptor.
FileDescriptor::FileDescriptor(std::string path, int flags) : FileDescriptor(-1, std::move(path), false) {
  own(openPath(name_, flags));
  setCloseOnExec();
}

// cppcheck-suppress uninitMemberVar ; the delegated constructor does it
FileDescriptor::FileDescriptor(int fd, bool owns) try : FileDescriptor(fd, "fd" + std::to_string(fd), owns) {
} catch (...) {
  // There is no object whose destructor would do it.
  if (owns) {
    ::close(fd);
  }
}

FileDescriptor::FileDescriptor(int fd, std::string name, bool owns)
    : fd_(fd), name_(std::move(name)), owns_(owns) {}

FileDescriptor::~FileDescriptor() {
  if (owns_) {
    ::close(fd_);
  }
}

std::optional<std::string> FileDescriptor::contentOf(const std::string& path) {
  FileDescriptor file(-1, path, false);
  const int opened = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (opened == -1 && (errno == ENOENT || errno == ENOTDIR)) {
    return {};
  }
  if (opened == -1) {
    throwErrno({"open(\"", path, "\")"}, errno);
  }
  file.own(opened);
  return file.readAll();
}

void FileDescriptor::own(int fd) {
  fd_ = fd;
  owns_ = true;
}

int FileDescriptor::release() {
  owns_ = false;
  return fd_;
}

void FileDescriptor::setCloseOnExec() const {
  if (::fcntl(fd_, F_SETFD, FD_CLOEXEC) == -1) {
    throwErrno({"fcntl(\"", name_, "\",F_SETFD,FD_CLOEXEC)"}, errno);
  }
}

std::size_t FileDescriptor::read(void* buffer, std::size_t length) const {
  ssize_t count = 0;
  do {
    count = ::read(fd_, buffer, length);
  } while (count == -1 && errno == EINTR);
  if (count == -1) {
    throwErrno({"read(\"", name_, "\")"}, errno);
  }
  return static_cast<std::size_t>(count);
}

std::string FileDescriptor::readSome() const {
  std::array<char, readSomeLimit> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init): read fills it
  return {buffer.data(), read(buffer.data(), buffer.size())};
}

std::string FileDescriptor::readAll() const {
  std::array<char, readSomeLimit> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init): read fills it
  std::string all;
  for (std::size_t count = read(buffer.data(), buffer.size()); count > 0;
       count = read(buffer.data(), buffer.size())) {
    all.append(buffer.data(), count);
  }
  return all;
}

void FileDescriptor::readExact(void* buffer, std::size_t length) const {
  auto* position = static_cast<std::byte*>(buffer);
  while (length > 0) {
    const std::size_t count = read(position, length);
    if (count == 0) {
      throw EndOfFile();
    }
    position += count;
    length -= count;
  }
}

void FileDescriptor::readByte(std::uint8_t& byte) const {
  readExact(&byte, 1);
}

void FileDescriptor::readDeviceDescriptor(std::span<std::uint8_t, 18> buffer) const {
  readExact(buffer.data(), buffer.size());
}

std::size_t FileDescriptor::write(const void* buffer, std::size_t length) {
  std::optional<MutexLock> lock;
  if (serialiseWrites) {
    lock.emplace(writeMutex_);
  }
  const ssize_t count = ::write(fd_, buffer, length);
  if (count == -1) {
    throwErrno({"write(\"", name_, "\")"}, errno);
  }
  return static_cast<std::size_t>(count);
}

void FileDescriptor::writeAll(const void* buffer, std::size_t length) {
  const auto* position = static_cast<const std::byte*>(buffer);
  while (length > 0) {
    const std::size_t count = write(position, length);
    position += count;
    length -= count;
  }
}

void FileDescriptor::writeByte(std::uint8_t byte) {
  writeAll(&byte, 1);
}

}  // namespace ulx
