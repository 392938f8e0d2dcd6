#pragma once

#include <string_view>

namespace ulx {

/**
 * One write of `bytes` whose outcome does not matter: what a full, closed or readerless descriptor does not
 * take is lost. Resumed when a signal interrupts it before anything is written. May be called by a signal
 * handler.
 */
void writeOnce(int fd, std::string_view bytes);

}  // namespace ulx
