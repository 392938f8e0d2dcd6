#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

#include "support/output.h"

namespace support {

/** The daemon's debug messages with these texts. */
inline std::vector<std::string> tagged(const std::vector<std::string>& texts) {
  std::vector<std::string> lines;
  lines.reserve(texts.size());
  for (const std::string& text : texts) {
    lines.push_back("[rx_ctrl] " + text);
  }
  return lines;
}

/** The messages on standard error while `action` runs, up to 250 of them. */
inline std::vector<std::string> saidDuring(const std::function<void()>& action) {
  constexpr int roomForMessages = 1 << 20;  // bytes; the pipe keeps each write in a page of its own
  const CapturedStandardError captured;
  fcntl(STDERR_FILENO, F_SETPIPE_SZ, roomForMessages);
  action();
  return captured.messages();
}

}  // namespace support
