#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace support {

/** A copy of bytes right before memory that may not be read: a reader that goes too far ends the test. */
class GuardedBytes {
 public:
  explicit GuardedBytes(std::string_view bytes);
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;
  ~GuardedBytes();

  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return bytes_; }

 private:
  std::span<std::uint8_t> pages_;
  std::span<const std::uint8_t> bytes_;
};

}  // namespace support
