#include "sim/uevent.h"

namespace sim {

std::string uevent(const std::string& action, const std::string& devpath, const UeventPairs& pairs) {
  UeventPairs items = {{"ACTION", action}, {"DEVPATH", devpath}};
  items.insert(items.end(), pairs.begin(), pairs.end());
  std::string datagram = action + "@" + devpath + '\0';
  for (const auto& [key, value] : items) {
    datagram.append(key).append("=").append(value).push_back('\0');
  }
  return datagram;
}

}  // namespace sim
