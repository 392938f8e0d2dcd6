#include "ctrl/messages.h"

#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <cmath>

#include "ulx/format.h"
#include "ulx/write_once.h"

double timestampNow() {
  constexpr double microsecondsPerSecond = 1'000'000;
  timeval now{};
  gettimeofday(&now, nullptr);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / microsecondsPerSecond;
}

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

void logError(const std::string& text) {
  static_cast<void>(ErrorMessage(text));
}
