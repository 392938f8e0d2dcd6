#pragma once

#include <string_view>

namespace ulx {

/**
 * Writes `bytes` with one write(2) and ignores its outcome: bytes that `fd` does not take are lost. Repeated
 * when a signal interrupts it before the first byte. Safe in signal handlers.
 */
void writeOnce(int fd, std::string_view bytes);

}  // namespace ulx
