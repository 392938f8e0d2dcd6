#include "ctrl/messages.h"

#include <syslog.h>
#include <unistd.h>

#include <cmath>

#include "ctrl/clock.h"
#include "ctrl/settings.h"
#include "ulx/format.h"
#include "ulx/write_once.h"

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
    text_ << '\n';
    ulx::writeOnce(STDERR_FILENO, text_.str());
  }
}

DebugMessage::DebugMessage(const std::string& tag) : LogMessage(LOG_DEBUG, tag) {}

ErrorMessage::ErrorMessage(const std::string& text) : LogMessage(LOG_ERR, text) {}
