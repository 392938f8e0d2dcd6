#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "sim/deadline.h"
#include "sim/descriptor.h"
#include "sim/state_report.h"
#include "sim/wait.h"

namespace sim {

/** One message as it came to the syslog socket. */
struct SyslogMessage {
  int priority;      ///< facility and severity in one number; severity is its low three bits
  std::string tag;   ///< the program's name
  std::string text;  ///< without priority, time and tag
  std::string raw;

  [[nodiscard]] int severity() const { return priority & 7; }
};

/** Listens where programs of the unit send their syslog messages. */
class SyslogSink {
 public:
  explicit SyslogSink(const std::string& path = "/dev/log");

  /** The next message, in the order of their sending. */
  SyslogMessage waitForMessage(const Deadline& deadline = {});
  /** The next message whose text contains this; those before it are passed over. */
  SyslogMessage waitForText(const std::string& part, const Deadline& deadline = {});
  /** The messages that are there now and were not returned before. */
  std::vector<SyslogMessage> takeMessages();

 private:
  void readAll();
  [[nodiscard]] std::string describe() const;

  Descriptor socket_;
  std::deque<SyslogMessage> messages_;
  std::vector<std::string> seen_;
  std::optional<Background> source_;
  StateReport stateReport_;
};

}  // namespace sim
