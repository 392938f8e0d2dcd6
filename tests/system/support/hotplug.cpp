#include "system/support/hotplug.h"

#include <algorithm>

namespace {

constexpr const char* tag = "[rx_ctrl] ";

}  // namespace

Messages rxCtrl(const Messages& texts) {
  Messages messages;
  for (const std::string& text : texts) {
    messages.push_back(tag + text);
  }
  return messages;
}

std::string devpathOf(const std::string& directory) {
  return directory.substr(std::string("/sys").size());
}

Messages usbDevice(const std::string& directory, const Messages& texts) {
  Messages all{"add " + devpathOf(directory), "subsystem is 'usb'"};
  all.insert(all.end(), texts.begin(), texts.end());
  return rxCtrl(all);
}

Messages genericDevice(const std::string& directory) {
  return usbDevice(directory, {"  no iso endpoints found, this is supported.", kind::generic,
                               "starting usb_rx_generic for " + directory});
}

void Hotplug::start(const std::string& classList, const Messages& options) {
  Messages arguments{"--debug=ctrl", "--class=" + classList};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.insert(arguments.end(), {"transmitter", "5000", "high"});
  unit.startDaemon(arguments);
  unit.waitUntilServing();
}

Messages Hotplug::during(const std::function<void()>& action) {
  const std::size_t before = unit.daemon().lines().size();
  action();
  unit.settle();
  Messages messages = unit.daemon().messages();
  messages.pop_back();  // the settling event's
  messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
  return messages;
}

std::string Hotplug::kindOf(const sim::UsbDevice& device) {
  const Messages messages = saidOfPlugging(device);
  const auto decision = std::find_if(messages.begin(), messages.end(), [](const std::string& message) {
    return message.starts_with("[rx_ctrl] this is ");
  });
  return (decision == messages.end() ? messages.back() : *decision).substr(std::string(tag).size());
}
