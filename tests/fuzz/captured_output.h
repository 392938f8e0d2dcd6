#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace fuzz {

/** Takes into memory what is printed on the stream of standard output, during a scope. */
class CapturedOutput {
 public:
  CapturedOutput();
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;
  ~CapturedOutput();

  /** All that has been printed so far. */
  [[nodiscard]] std::string text() const;

 private:
  char* bytes_ = nullptr;
  std::size_t size_ = 0;
  FILE* replaced_;
};

}  // namespace fuzz
