#include "support/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "ctrl/settings.h"
#include "sim/contract.h"

namespace support {

PacketPipe::PacketPipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_DIRECT | O_CLOEXEC) == -1) {
    throw std::system_error(errno, std::generic_category(), "pipe2");
  }
  readEnd_ = ends[0];
  writeEnd_ = ends[1];
  fcntl(readEnd_, F_SETFL, O_NONBLOCK | O_DIRECT);
}

PacketPipe::~PacketPipe() {
  closeReadEnd();
  if (writeEnd_ != -1) {
    close(writeEnd_);
  }
}

int PacketPipe::releaseWriteEnd() {
  const int released = writeEnd_;
  writeEnd_ = -1;
  return released;
}

void PacketPipe::closeReadEnd() {
  if (readEnd_ != -1) {
    close(readEnd_);
    readEnd_ = -1;
  }
}

Lines PacketPipe::writes() const {
  Lines found;
  std::array<char, 4096> buffer{};
  for (ssize_t size = 0; (size = read(readEnd_, buffer.data(), buffer.size())) > 0;) {
    found.emplace_back(buffer.data(), static_cast<std::size_t>(size));
  }
  return found;
}

ReplacedStandardError::ReplacedStandardError(int fd) : saved_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
  dup2(fd, STDERR_FILENO);
}

ReplacedStandardError::~ReplacedStandardError() {
  dup2(saved_, STDERR_FILENO);
  close(saved_);
}

Lines CapturedStandardError::messages() const {
  constexpr std::size_t timeLength = 8;
  Lines found;
  for (const std::string& line : writes()) {
    found.push_back(line.substr(timeLength, line.size() - timeLength - 1));
  }
  return found;
}

Lines logDuring(const std::function<void()>& action) {
  constexpr int roomForMessages = 1 << 20;  // bytes; the pipe keeps each write in a page of its own
  const CapturedStandardError captured;
  fcntl(STDERR_FILENO, F_SETPIPE_SZ, roomForMessages);
  action();
  return captured.messages();
}

Lines debugLogDuring(const std::function<void()>& action) {
  settings.debugCtrl = true;
  Lines lines = logDuring(action);
  settings.debugCtrl = false;
  return lines;
}

Lines tagged(Lines texts) {
  for (std::string& text : texts) {
    text.insert(0, contract::debug::tag);
  }
  return texts;
}

}  // namespace support
