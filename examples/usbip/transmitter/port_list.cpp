#include "examples/usbip/transmitter/port_list.h"

#include <optional>
#include <string_view>

#include "ulx/file_descriptor.h"
#include "ulx/format.h"

namespace usbip {
namespace {

std::string hubName(Hub hub) {
  return hub == Hub::highSpeed ? "hs" : "ss";
}

// A text that a device gives itself may hold anything.
std::string printable(std::string text) {
  for (char& character : text) {
    if (character < ' ' || character > '~') {
      character = '?';
    }
  }
  return text;
}

// The first line of an attribute; empty where there is none.
std::string attributeOf(const std::string& busId, const std::string& name) {
  const auto content = ulx::FileDescriptor::contentOf("/sys/bus/usb/devices/" + busId + "/" + name);
  return content ? printable(content->substr(0, content->find('\n'))) : "";
}

std::string deviceName(const std::string& busId) {
  const std::string vendor = attributeOf(busId, "idVendor");
  if (vendor.empty()) {
    return "";
  }
  const std::string product = attributeOf(busId, "product");
  return vendor + ":" + attributeOf(busId, "idProduct") + (product.empty() ? "" : " " + product);
}

std::string lineOf(const VirtualPort& port, std::string_view speed, std::string_view busId,
                   std::string_view device) {
  std::string line =
      ulx::formatString("%4u  %-3s  %-11.*s  %-8.*s  %.*s", port.number, hubName(port.hub).c_str(),
                        static_cast<int>(speed.size()), speed.data(), static_cast<int>(busId.size()),
                        busId.data(), static_cast<int>(device.size()), device.data());
  line.erase(line.find_last_not_of(' ') + 1);
  return line + "\n";
}

std::string lineOf(const VirtualPort& port) {
  switch (port.state) {
    case VirtualPort::State::used:
      return lineOf(port, nameOf(Speed{static_cast<std::uint8_t>(port.speed)}), port.localBusId,
                    deviceName(port.localBusId));
    case VirtualPort::State::notAddressed:
      return lineOf(port, "", "", "has no address yet");
    default:
      return lineOf(port, "", "", "is being detached");
  }
}

}  // namespace

std::string listAttached(const std::vector<VirtualPort>& ports) {
  std::string lines;
  for (const VirtualPort& port : ports) {
    if (port.state != VirtualPort::State::free) {
      lines += lineOf(port);
    }
  }
  return lines.empty() ? "nothing is attached\n" : "port  hub  speed        bus id    device\n" + lines;
}

}  // namespace usbip
