#pragma once

#include <string>

namespace usbip {

/** Where a program's lines go. */
enum class LogDestination { standardError, syslog };

/** A program's lines, each with the program's name before it. */
class Log {
 public:
  /** `program` must outlive it, as openlog(3) wants. */
  Log(const char* program, LogDestination destination, bool debugging);

  /** What somebody wants to know. */
  void print(const std::string& line) const;
  /** What somebody who looks for a fault wants to know: only with debugging. */
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
