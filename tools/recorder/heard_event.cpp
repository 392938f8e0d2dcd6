#include "tools/recorder/heard_event.h"

namespace recorder {

namespace {

std::string headerOf(const std::string& datagram) {
  return datagram.substr(0, datagram.find('\0'));
}

}  // namespace

bool HeardEvent::isHeaded(std::string_view header) const {
  return headerOf(datagram) == header;
}

bool HeardEvent::hasItem(std::string_view item) const {
  const std::string between = '\0' + std::string(item) + '\0';
  return datagram.find(between) != std::string::npos;
}

std::string HeardEvent::devpath() const {
  const std::string header = headerOf(datagram);
  const std::size_t at = header.find('@');
  return at == std::string::npos ? "" : header.substr(at + 1);
}

}  // namespace recorder
