#include "ctrl/messages.h"

#include <syslog.h>
#include <unistd.h>

#include <cmath>

#include "ctrl/clock.h"
#include "ctrl/settings.h"
#include "ulx/format.h"

namespace {

// One write, so that lines of several processes on one terminal do not mix. Its result does not matter:
// a reader that has gone must not stop the daemon.
void writeLine(const std::string& text) {
  const std::string line = text + '\n';
  if (::write(STDERR_FILENO, line.data(), line.size()) == -1) {
    return;
  }
}

}  // namespace

std::string timePrefix(double seconds) {
  constexpr double wrap = 100.0;
  return ulx::formatString("%6.3f: ", std::fmod(seconds, wrap));
}

LogMessage::LogMessage(int syslogPriority, const std::string& first) : syslogPriority_(syslogPriority) {
  if (!settings.logToSyslog) {
    text_ << timePrefix(timestampNow());
  }
  text_ << first;
}

LogMessage::~LogMessage() {
  if (settings.logToSyslog) {
    syslog(syslogPriority_, "%s", text_.str().c_str());
  } else {
    writeLine(text_.str());
  }
}

DebugMessage::DebugMessage(const std::string& tag) : LogMessage(LOG_DEBUG, tag) {}

ErrorMessage::ErrorMessage(const std::string& text) : LogMessage(LOG_ERR, text) {}
