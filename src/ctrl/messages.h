#pragma once

#include <string>

#include "ctrl/message_text.h"
#include "ctrl/settings.h"

/** The tag of the daemon's own debug messages. */
inline constexpr const char* ctrlTag = "[rx_ctrl] ";

/** Wall-clock time in seconds since the epoch, with microseconds. */
double timestampNow();

/** "%6.3f: " of the time `seconds` modulo 100: what begins a line on standard error. */
std::string timePrefix(double seconds);

/**
 * A message under construction: text is inserted as into a stream and emitted whole, as one line, when the
 * message ends. It goes to syslog, or to standard error with the time before it, as `settings.logToSyslog`
 * says at either end of its life. A message that is not read is lost without a report.
 */
class LogMessage {
 public:
  LogMessage(const LogMessage&) = delete;
  LogMessage& operator=(const LogMessage&) = delete;

  template <class T>
  LogMessage& operator<<(const T& value) {
    text_ << value;
    return *this;
  }

 protected:
  LogMessage(int syslogPriority, const std::string& first);
  ~LogMessage();

 private:
  int syslogPriority_;
  MessageText text_;
};

/** For the maintainer. It does not look at `settings.debugCtrl`: `logDebug` does. */
class DebugMessage : public LogMessage {
 public:
  explicit DebugMessage(const std::string& tag);
};

/** For an error that must not go unnoticed. */
class ErrorMessage : public LogMessage {
 public:
  explicit ErrorMessage(const std::string& text);
};

/** Logs one debug message of the daemon, made of these parts, where `settings.debugCtrl` asks for them. */
template <class... Parts>
void logDebug(const Parts&... parts) {
  if (settings.debugCtrl) {
    (DebugMessage(ctrlTag) << ... << parts);
  }
}

/** Logs one error message. */
void logError(const std::string& text);
