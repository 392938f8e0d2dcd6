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

std::pair<std::string, std::string> headOf(const std::string& datagram) {
  const std::string head = datagram.substr(0, datagram.find('\0'));
  const std::size_t at = head.find('@');
  return {head.substr(0, at), head.substr(at + 1)};
}

}  // namespace sim
