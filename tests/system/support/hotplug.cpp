#include "system/support/hotplug.h"

#include <algorithm>
#include <string_view>

#include "system/support/daemon_fixture.h"

namespace support {

namespace debug = contract::debug;

std::string devpathOf(const std::string& directory) {
  return directory.substr(std::string_view("/sys").size());
}

Lines nodeOf(const std::string& subsystem, const std::string& directory, const Lines& texts) {
  Lines all{debug::event("add", devpathOf(directory)), debug::subsystem(subsystem)};
  all.insert(all.end(), texts.begin(), texts.end());
  return tagged(all);
}

Lines usbDevice(const std::string& directory, const Lines& texts) {
  return nodeOf("usb", directory, texts);
}

Lines genericDevice(const std::string& directory) {
  return usbDevice(directory, {debug::noIsochronousFound, debug::generic, debug::startingGeneric(directory)});
}

Lines ignoredEvent(const std::string& devpath) {
  return tagged({debug::event("add", devpath), debug::eventIgnored});
}

Lines messagesDuring(sim::Unit& unit, const std::function<void()>& action) {
  const std::size_t before = unit.daemon().lines().size();
  action();
  unit.settle();
  Lines messages = unit.daemon().messages();
  messages.pop_back();  // the settling event's
  messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
  return messages;
}

void Hotplug::start(const std::string& classList, const Lines& options) {
  unit.startDaemon(commandLine(joined({"--debug=ctrl", "--class=" + classList}, options)));
  unit.waitUntilServing();
}

std::string Hotplug::kindOf(const sim::UsbDevice& device) {
  const std::string tag = debug::tag;
  const Lines messages = saidOfPlugging(device);
  const auto decision = std::find_if(messages.begin(), messages.end(), [&](const std::string& message) {
    return message.starts_with(tag + "this is ");
  });
  return (decision == messages.end() ? messages.back() : *decision).substr(tag.size());
}

}  // namespace support
