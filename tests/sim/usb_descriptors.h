#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

/** USB descriptors as bytes; what a device's "descriptors" file holds is the sum of them. */
namespace sim {

namespace usb_class {
constexpr std::uint8_t perInterface = 0x00;
constexpr std::uint8_t audio = 0x01;
constexpr std::uint8_t hid = 0x03;
constexpr std::uint8_t massStorage = 0x08;
constexpr std::uint8_t hub = 0x09;
constexpr std::uint8_t smartCard = 0x0b;
constexpr std::uint8_t vendor = 0xff;
}  // namespace usb_class

namespace transfer_type {
constexpr std::uint8_t isochronous = 1;
constexpr std::uint8_t bulk = 2;
constexpr std::uint8_t interrupt = 3;
}  // namespace transfer_type

[[nodiscard]] std::string bytes(std::initializer_list<unsigned> values);

/** 18 bytes. */
[[nodiscard]] std::string deviceDescriptor(std::uint8_t deviceClass = usb_class::perInterface,
                                           std::uint8_t configurations = 1);
/** 9 bytes, and after them what belongs to the configuration (its interfaces, endpoints and others). */
[[nodiscard]] std::string configuration(const std::string& content);
/** 9 bytes. */
[[nodiscard]] std::string interface(std::uint8_t interfaceClass, std::uint8_t subclass, std::uint8_t protocol,
                                    std::uint8_t number = 0, std::uint8_t alternateSetting = 0);
/** 7 bytes; the low two bits of `attributes` are the transfer type. */
[[nodiscard]] std::string endpoint(std::uint8_t attributes, std::uint8_t address = 0x81);

/** Whole "descriptors" files of usual devices. */
[[nodiscard]] std::string keyboardDescriptors();
[[nodiscard]] std::string mouseDescriptors();
[[nodiscard]] std::string diskDescriptors();
[[nodiscard]] std::string vendorDeviceDescriptors();

}  // namespace sim
