#include "sim/syslog_sink.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>

#include "sim/unix_socket.h"

namespace sim {

namespace {

/** Lets senders go on while there is no reader; where that is refused, the usual ten messages must do. */
void lengthenQueues() {
  std::ofstream("/proc/sys/net/unix/max_dgram_qlen") << 100000;
}

/** "<15>Nov 21 03:39:00 tag: text", or the same with "tag[pid]". */
SyslogMessage parseMessage(const std::string& raw) {
  constexpr std::size_t timeLength = sizeof("Nov 21 03:39:00 ") - 1;
  const std::size_t afterPriority = raw.find('>') + 1;
  const std::string rest = raw.substr(std::min(afterPriority + timeLength, raw.size()));
  const std::size_t colon = std::min(rest.find(": "), rest.size());
  return {static_cast<int>(std::strtol(raw.c_str() + 1, nullptr, 10)),
          rest.substr(0, std::min(rest.find_first_of(":["), rest.size())),
          rest.substr(std::min(colon + 2, rest.size())), raw};
}

}  // namespace

SyslogSink::SyslogSink(const std::string& path) : stateReport_([this] { return describe(); }) {
  lengthenQueues();
  socket_ = bindTo(path, SOCK_DGRAM);
  source_.emplace(socket_.get(), [this] { readAll(); });
}

SyslogMessage SyslogSink::waitForMessage(const Deadline& deadline) {
  waitUntil("a syslog message", deadline, [this] { return !messages_.empty(); });
  SyslogMessage message = messages_.front();
  messages_.pop_front();
  return message;
}

SyslogMessage SyslogSink::waitForText(const std::string& part, const Deadline& deadline) {
  auto found = messages_.end();
  waitUntil("a syslog message with \"" + part + "\"", deadline, [&] {
    found = std::find_if(messages_.begin(), messages_.end(), [&](const SyslogMessage& message) {
      return message.text.find(part) != std::string::npos;
    });
    return found != messages_.end();
  });
  SyslogMessage message = *found;
  messages_.erase(messages_.begin(), found + 1);
  return message;
}

std::vector<SyslogMessage> SyslogSink::takeMessages() {
  serveBackground();
  std::vector<SyslogMessage> taken(messages_.begin(), messages_.end());
  messages_.clear();
  return taken;
}

void SyslogSink::readAll() {
  std::array<char, 65536> buffer{};
  for (ssize_t length = 0; (length = ::recv(socket_.get(), buffer.data(), buffer.size(), 0)) >= 0;) {
    const std::string raw(buffer.data(), static_cast<std::size_t>(length));
    messages_.push_back(parseMessage(raw));
    seen_.push_back(raw);
  }
}

std::string SyslogSink::describe() const {
  std::string text = "syslog has received:\n";
  for (const std::string& raw : seen_) {
    text += "  " + raw + "\n";
  }
  return text;
}

}  // namespace sim
