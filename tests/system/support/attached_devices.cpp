#include "system/support/attached_devices.h"

namespace {

constexpr const char* fullSpeed = "12";

}  // namespace

sim::UsbDevice scanner(const std::string& name, const std::string& product) {
  sim::UsbDevice device;
  device.name = name;
  device.product = product;
  device.speed = fullSpeed;
  return device;
}

sim::UsbDevice fastScanner(const std::string& name, const std::string& product) {
  sim::UsbDevice device;
  device.name = name;
  device.product = product;
  return device;
}

sim::UsbDevice keyboard(const std::string& name) {
  sim::UsbDevice device = scanner(name, "Keyboard");
  device.descriptors = sim::keyboardDescriptors();
  return device;
}

sim::UsbDevice disk(const std::string& name) {
  sim::UsbDevice device = fastScanner(name, "Disk");
  device.descriptors = sim::diskDescriptors();
  return device;
}

std::vector<std::string> genericWorker(const std::string& directory,
                                       const std::vector<std::string>& options) {
  std::vector<std::string> arguments{"usb_rx_generic"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.insert(arguments.end(), {"eth1", "transmitter", "5000", directory});
  return arguments;
}
