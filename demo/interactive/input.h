#pragma once

#include <optional>
#include <string>

namespace demo {

/** Lines that somebody types, or that come from a file or another program. */
class Input {
 public:
  /** `descriptor` stays the caller's. */
  explicit Input(int descriptor) : descriptor_(descriptor) {}

  [[nodiscard]] int descriptor() const { return descriptor_; }
  [[nodiscard]] bool isTerminal() const;
  /** Whether there is a line, or the end, or something to read that may lead to one. */
  [[nodiscard]] bool isReady() const;
  /** Whether takeLine() would have a line or has come to the end. */
  [[nodiscard]] bool hasLineOrEnd() const;
  /** Reads what is there; waits only if nothing is. */
  void readMore();
  /** The next line without its newline; none at the end. The last one needs no newline. */
  std::optional<std::string> takeLine();

 private:
  int descriptor_;
  bool atEnd_ = false;
  std::string read_;
};

}  // namespace demo
