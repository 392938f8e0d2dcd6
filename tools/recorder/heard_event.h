#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace recorder {

/** A uevent and when it came. */
struct HeardEvent {
  std::chrono::steady_clock::time_point time;
  std::string datagram;  ///< ACTION@DEVPATH, NUL, KEY=VALUE, NUL ...

  /** Whether it begins so: "add@/devices/...". */
  [[nodiscard]] bool isHeaded(std::string_view header) const;
  /** Whether one of the items is this one: "DEVTYPE=usb_device". */
  [[nodiscard]] bool hasItem(std::string_view item) const;
  /** What stands behind the "@". */
  [[nodiscard]] std::string devpath() const;
};

}  // namespace recorder
