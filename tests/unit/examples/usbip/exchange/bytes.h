#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/** Bytes as two hexadecimal digits each, so that a failed test shows them. */
inline std::string hexOf(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += {digits[byte / digits.size()], digits[byte % digits.size()]};
  }
  return text;
}

/** Bytes that are numbered upwards from `first`. */
template <std::size_t count>
constexpr std::array<std::uint8_t, count> countingFrom(std::uint8_t first) {
  std::array<std::uint8_t, count> bytes{};
  for (std::uint8_t& byte : bytes) {
    byte = first++;
  }
  return bytes;
}
