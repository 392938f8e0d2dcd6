#pragma once

#include <string>

namespace recorder {

/**
 * The text of a uevent's items without the serial numbers that some of them hold: their values become empty,
 * as those of a device without a number. `end` is what ends each item: NUL in an event, a newline in a
 * "uevent" file.
 */
[[nodiscard]] std::string withoutSerialNumbers(const std::string& items, char end);

}  // namespace recorder
