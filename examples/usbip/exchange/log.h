#pragma once

#include <string>

namespace usbip {

/** Where a program's lines go. */
enum class LogDestination { standardError, syslog };

/**
 * A program's lines, each with the program's name before it. A line whose reader has gone is lost: from the first log on,
 * SIGPIPE is ignored.
 */
class Log {
 public:
  /** `program` must outlive it, as openlog(3) wants. */
  Log(const char* program, LogDestination destination, bool debugging);

  /** What happens. */
  void print(const std::string& line) const;
  /** Each step, for the search of a fault: only where debugging is on. */
  void debug(const std::string& line) const;
  /** What went wrong. */
  void error(const std::string& line) const;

 private:
  void write(int priority, const std::string& line) const;

  const char* program_;
  LogDestination destination_;
  bool debugging_;
};

}  // namespace usbip
