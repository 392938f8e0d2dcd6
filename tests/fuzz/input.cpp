#include "fuzz/input.h"

#include <algorithm>

namespace fuzz {

namespace {

constexpr std::size_t bitsOfByte = 8;

}  // namespace

Input::Input(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

std::uint8_t Input::byte() {
  if (rest_.empty()) {
    return 0;
  }
  const auto value = static_cast<std::uint8_t>(rest_.front());
  rest_.remove_prefix(1);
  return value;
}

std::string Input::text() {
  const std::size_t high = byte();
  const std::size_t low = byte();
  return take(high << bitsOfByte | low);
}

std::string Input::textUpTo(char end) {
  std::string part = take(std::min(rest_.find(end), rest_.size()));
  byte();
  return part;
}

std::string Input::rest() {
  return take(rest_.size());
}

std::string Input::take(std::size_t size) {
  std::string taken(rest_.substr(0, size));
  rest_.remove_prefix(taken.size());
  return taken;
}

InputWriter& InputWriter::byte(unsigned value) {
  written_ += static_cast<char>(value);
  return *this;
}

InputWriter& InputWriter::text(std::string_view text) {
  byte(static_cast<unsigned>(text.size() >> bitsOfByte));
  byte(static_cast<unsigned>(text.size()));
  return bytes(text);
}

InputWriter& InputWriter::bytes(std::string_view bytes) {
  written_ += bytes;
  return *this;
}

}  // namespace fuzz
