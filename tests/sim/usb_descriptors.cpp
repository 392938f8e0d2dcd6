#include "sim/usb_descriptors.h"

namespace sim {

namespace {

constexpr unsigned lowByte(std::size_t value) {
  return value & 0xffU;
}
constexpr unsigned highByte(std::size_t value) {
  return (value >> 8U) & 0xffU;
}

}  // namespace

std::string bytes(std::initializer_list<unsigned> values) {
  std::string text;
  for (const unsigned value : values) {
    text += static_cast<char>(value);
  }
  return text;
}

std::string deviceDescriptor(std::uint8_t deviceClass, std::uint8_t configurations) {
  return bytes({18, 1, 0x00, 0x02, deviceClass, 0, 0, 64, 0x09, 0x12, 0x01, 0x00, 0x00, 0x01, 1, 2, 0,
                configurations});
}

std::string configuration(const std::string& content) {
  const std::size_t total = 9 + content.size();
  return bytes({9, 2, lowByte(total), highByte(total), 1, 1, 0, 0x80, 50}) + content;
}

std::string interface(std::uint8_t interfaceClass, std::uint8_t subclass, std::uint8_t protocol,
                      std::uint8_t number, std::uint8_t alternateSetting) {
  return bytes({9, 4, number, alternateSetting, 1, interfaceClass, subclass, protocol, 0});
}

std::string endpoint(std::uint8_t attributes, std::uint8_t address) {
  return bytes({7, 5, address, attributes, 64, 0, 10});
}

std::string keyboardDescriptors() {
  return deviceDescriptor() +
         configuration(interface(usb_class::hid, 1, 1) + bytes({9, 0x21, 0x11, 0x01, 0, 1, 0x22, 63, 0}) +
                       endpoint(transfer_type::interrupt));
}

std::string mouseDescriptors() {
  return deviceDescriptor() +
         configuration(interface(usb_class::hid, 1, 2) + bytes({9, 0x21, 0x11, 0x01, 0, 1, 0x22, 52, 0}) +
                       endpoint(transfer_type::interrupt));
}

std::string diskDescriptors() {
  return deviceDescriptor() +
         configuration(interface(usb_class::massStorage, 6, 0x50) + endpoint(transfer_type::bulk, 0x81) +
                       endpoint(transfer_type::bulk, 0x02));
}

std::string vendorDeviceDescriptors() {
  return deviceDescriptor() +
         configuration(interface(usb_class::vendor, 0, 0) + endpoint(transfer_type::bulk));
}

}  // namespace sim
