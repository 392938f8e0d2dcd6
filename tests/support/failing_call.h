#pragma once

#include <cstdint>

namespace support {

/** Which calls are meant: those whose argument at `index` (from 0) is `value`. */
struct ArgumentIs {
  unsigned index;
  std::uint32_t value;
};

/**
 * From now on the system call `number` (SYS_...), or the one that the C library makes in its place, fails
 * with `error` in this process, a child of the test, without being carried out. False where the kernel cannot
 * do that.
 */
[[nodiscard]] bool failSystemCall(long number, int error);
/** The same for some of these calls only. */
[[nodiscard]] bool failSystemCall(long number, ArgumentIs argument, int error);

}  // namespace support
