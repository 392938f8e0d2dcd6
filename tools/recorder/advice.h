#pragma once

#include <string>

namespace recorder {

/** What keeps a recorder waiting. */
enum class Delay {
  nothingHeard,  ///< no event at all
  noNewDevice,   ///< events, but none of a new USB device
  notTakenOut,   ///< the device is still there, as far as the kernel says
  neverQuiet,    ///< one event after the other
};

/** What a person can do about it: lines of at most 80 columns. */
[[nodiscard]] std::string adviceOn(Delay delay);

}  // namespace recorder
