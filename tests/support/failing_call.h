#pragma once

#include <cstdint>
#include <optional>

namespace support {

/** Which calls are meant: those whose argument at `index` (from 0) is `value`. */
struct ArgumentIs {
  unsigned index;
  std::uint32_t value;
};

/** A system call (SYS_...) that is to fail with `error`, always or only with this argument. */
struct FailingCall {
  long number;
  int error;
  std::optional<ArgumentIs> argument = {};
};

/**
 * From now on this call, or the one that the C library makes in its place, fails in this process, a child of
 * the test, without being carried out. False where the kernel cannot do that.
 */
[[nodiscard]] bool failSystemCall(const FailingCall& call);

}  // namespace support
