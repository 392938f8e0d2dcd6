#pragma once

#include <string>

namespace support {

/** Takes what the process prints to standard output during a scope. */
class CapturedStandardOutput {
 public:
  CapturedStandardOutput();
  CapturedStandardOutput(const CapturedStandardOutput&) = delete;
  CapturedStandardOutput& operator=(const CapturedStandardOutput&) = delete;
  ~CapturedStandardOutput();

  /** Everything so far. */
  [[nodiscard]] std::string text() const;

 private:
  int saved_;
  int file_;
};

}  // namespace support
