#pragma once

#include <cstdio>
#include <string>

/** Takes what is written to `stdout` or `stderr` during a scope. */
class CapturedOutput {
 public:
  explicit CapturedOutput(FILE* stream);
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;
  ~CapturedOutput();

  /** Everything so far. */
  [[nodiscard]] std::string text() const;

 private:
  FILE* stream_;
  int saved_;
  FILE* file_;
};
