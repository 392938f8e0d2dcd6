#include "demo/uevent_text.h"

#include <algorithm>

namespace demo {

namespace {

/** Keeps the first component of the path and as many of the last ones as fit. */
std::string shortenedPath(const std::string& path, std::size_t columns) {
  if (path.size() <= columns) {
    return path;
  }
  const std::string beginning = path.substr(0, path.find('/', 1)) + "/...";
  std::size_t rest = path.find('/', 1);
  while (rest != std::string::npos && beginning.size() + path.size() - rest > columns) {
    rest = path.find('/', rest + 1);
  }
  return beginning + path.substr(std::min(rest, path.rfind('/')));
}

std::string padded(std::string word) {
  constexpr std::size_t longestAction = 6;
  word.resize(std::max(word.size(), longestAction), ' ');
  return word;
}

}  // namespace

UeventText UeventText::of(const std::string& datagram) {
  const std::string head = datagram.substr(0, datagram.find('\0'));
  const std::size_t at = std::min(head.find('@'), head.size());
  const std::string usbDevice("\0DEVTYPE=usb_device\0", sizeof "\0DEVTYPE=usb_device");
  return {head.substr(0, at), head.substr(std::min(at + 1, head.size())),
          datagram.find(usbDevice) != std::string::npos};
}

bool UeventText::isArrivalOrDeparture() const {
  return isUsbDevice && (action == "add" || action == "remove");
}

std::string UeventText::shortened(std::size_t columns) const {
  const std::string beginning = padded(action) + " ";
  return beginning + shortenedPath(devpath, columns - beginning.size());
}

}  // namespace demo
