#include "sim/uevent.h"

namespace sim {

std::string uevent(const std::string& action, const std::string& devpath, const UeventPairs& pairs) {
  std::string datagram = action + "@" + devpath + '\0';
  datagram += "ACTION=" + action + '\0';
  datagram += "DEVPATH=" + devpath + '\0';
  for (const auto& [key, value] : pairs) {
    datagram += key + "=" + value + '\0';
  }
  return datagram;
}

}  // namespace sim
