#include "demo/interactive/input.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "sim/error.h"

namespace demo {

bool Input::isTerminal() const {
  return ::isatty(descriptor_) == 1;
}

bool Input::isReady() const {
  pollfd wanted{descriptor_, POLLIN, 0};
  return hasLineOrEnd() || ::poll(&wanted, 1, 0) > 0;
}

bool Input::hasLineOrEnd() const {
  return atEnd_ || read_.find('\n') != std::string::npos;
}

void Input::readMore() {
  std::array<char, 4096> buffer{};
  const ssize_t length = ::read(descriptor_, buffer.data(), buffer.size());
  if (length < 0 && errno != EINTR) {
    throw sim::systemError("reading input");
  }
  read_.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  atEnd_ = length == 0;
}

std::optional<std::string> Input::takeLine() {
  const std::size_t end = read_.find('\n');
  if (end == std::string::npos && read_.empty()) {
    return std::nullopt;
  }
  std::string line = read_.substr(0, end);
  read_.erase(0, end == std::string::npos ? end : end + 1);
  return line;
}

}  // namespace demo
