#include "hotplug/uevent.h"

#include <cstddef>

#include "ulx/items.h"

namespace {

// udevd multicasts each event of the kernel once more, with a header of its own.
bool isRepetition(std::string_view datagram) {
  return datagram.starts_with("libudev");
}

}  // namespace

UEvent parseUEvent(std::string_view datagram) {
  UEvent event;
  if (isRepetition(datagram)) {
    return event;
  }
  ulx::forEachItem(datagram, '\0', [&event](std::string_view item) {
    const std::size_t equals = item.find('=');
    if (equals != std::string_view::npos) {
      event.emplace(item.substr(0, equals), item.substr(equals + 1));
    }
  });
  return event;
}

UEvent makeAddEvent(std::string_view sysfsPath) {
  constexpr std::string_view mountPoint = "/sys";
  UEvent event;  // from a list it would be made by sorting, which is much code
  event.emplace("ACTION", "add");
  event.emplace("DEVPATH", sysfsPath.substr(mountPoint.size()));
  return event;
}
