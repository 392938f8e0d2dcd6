#include "examples/usbip/exchange/log.h"

#include <syslog.h>
#include <unistd.h>

#include <csignal>

#include "ulx/write_once.h"

namespace usbip {

Log::Log(const char* program, LogDestination destination, bool debugging)
    : program_(program), destination_(destination), debugging_(debugging) {
  // A program that is killed by a line of its log would leave its devices where they are.
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  if (destination == LogDestination::syslog) {
    ::openlog(program, LOG_PID, LOG_DAEMON);
  }
}

void Log::print(const std::string& line) const {
  write(LOG_INFO, line);
}

void Log::debug(const std::string& line) const {
  if (debugging_) {
    write(LOG_DEBUG, line);
  }
}

void Log::error(const std::string& line) const {
  write(LOG_ERR, line);
}

void Log::write(int priority, const std::string& line) const {
  if (destination_ == LogDestination::syslog) {
    ::syslog(priority, "%s", line.c_str());
  } else {
    ulx::writeOnce(STDERR_FILENO, std::string(program_) + ": " + line + "\n");  // one write: many write there
  }
}

}  // namespace usbip
