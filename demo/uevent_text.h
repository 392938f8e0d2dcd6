#pragma once

#include <string>

namespace demo {

/** What a person wants to know of a uevent. */
struct UeventText {
  std::string action;
  std::string devpath;
  bool isUsbDevice;  ///< a whole device rather than an interface or a node of one

  /** Of a datagram as the kernel sends it. */
  static UeventText of(const std::string& datagram);

  /** Whether a device has come or gone, as against interfaces, nodes and changes. */
  [[nodiscard]] bool isArrivalOrDeparture() const;
  /** Action and path, in at most `columns`; the middle of a longer path is left out. */
  [[nodiscard]] std::string shortened(std::size_t columns) const;
};

}  // namespace demo
