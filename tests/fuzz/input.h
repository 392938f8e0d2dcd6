#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace fuzz {

/** The bytes of one run of a fuzzer, taken off from their start. At the end there are zeros and empty texts. */
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size);

  [[nodiscard]] bool isAtEnd() const { return rest_.empty(); }
  std::uint8_t byte();
  /** A text behind its length, which takes two bytes, the higher one first. */
  std::string text();
  /** What stands before the next `end` or the end of the input. */
  std::string textUpTo(char end);
  /** All that is left. */
  std::string rest();

 private:
  std::string take(std::size_t size);

  std::string_view rest_;
};

/** Writes an input that `Input` reads. */
class InputWriter {
 public:
  InputWriter& byte(unsigned value);
  InputWriter& text(std::string_view text);
  InputWriter& bytes(std::string_view bytes);

  [[nodiscard]] const std::string& written() const { return written_; }

 private:
  std::string written_;
};

}  // namespace fuzz
