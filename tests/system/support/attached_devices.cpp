#include "system/support/attached_devices.h"

namespace support {

namespace {

constexpr const char* fullSpeed = "12";

}  // namespace

sim::UsbDevice scanner(const std::string& port, const std::string& product) {
  sim::UsbDevice device = fastScanner(port, product);
  device.speed = fullSpeed;
  return device;
}

sim::UsbDevice fastScanner(const std::string& port, const std::string& product) {
  return named({}, port, product);
}

sim::UsbDevice keyboard(const std::string& port) {
  sim::UsbDevice device = scanner(port, "Keyboard");
  device.descriptors = sim::keyboardDescriptors();
  return device;
}

sim::UsbDevice disk(const std::string& port) {
  sim::UsbDevice device = fastScanner(port, "Disk");
  device.descriptors = sim::diskDescriptors();
  return device;
}

sim::UsbDevice hub(const std::string& port) {
  sim::UsbDevice device = scanner(port, "Hub");
  device.deviceClass = "09";
  return device;
}

sim::UsbDevice deviceWithRaw(const std::string& descriptors) {
  sim::UsbDevice device;
  device.descriptors = descriptors;
  device.speed = fullSpeed;
  return device;
}

sim::UsbDevice deviceWith(const std::string& configurationContent) {
  return deviceWithRaw(sim::deviceDescriptor() + sim::configuration(configurationContent));
}

sim::UsbDevice deviceOfClass(std::uint8_t interfaceClass) {
  return deviceWith(interfaceOf(interfaceClass) + sim::endpoint(sim::transfer_type::bulk));
}

sim::UsbDevice mouse() {
  return deviceWithRaw(sim::mouseDescriptors());
}

sim::UsbDevice isochronousDevice() {
  return deviceWith(interfaceOf(sim::usb_class::vendor) + sim::endpoint(sim::transfer_type::isochronous));
}

sim::UsbDevice highSpeedDevice() {
  return {};
}

sim::UsbDevice named(sim::UsbDevice device, const std::string& port, const std::string& product) {
  device.name = port;
  device.product = product;
  return device;
}

std::string interfaceOf(std::uint8_t interfaceClass) {
  return sim::interface(interfaceClass, 0, 0);
}

std::vector<std::string> genericWorker(const std::string& directory,
                                       const std::vector<std::string>& options) {
  std::vector<std::string> arguments{"usb_rx_generic"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.insert(arguments.end(), {"eth1", "transmitter", "5000", directory});
  return arguments;
}

}  // namespace support
