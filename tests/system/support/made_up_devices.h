#pragma once

#include <string>

#include "sim/synthetic_device.h"
#include "sim/usb_descriptors.h"

/** Devices with nothing remarkable but the one thing that a test is about. */

/** A full-speed device whose one configuration holds these descriptors. */
inline sim::UsbDevice deviceWith(const std::string& configurationContent) {
  sim::UsbDevice device;
  device.descriptors = sim::deviceDescriptor() + sim::configuration(configurationContent);
  device.speed = "12";
  return device;
}

/** A full-speed device whose "descriptors" file holds these bytes and nothing else. */
inline sim::UsbDevice deviceWithRaw(const std::string& descriptors) {
  sim::UsbDevice device;
  device.descriptors = descriptors;
  device.speed = "12";
  return device;
}

inline std::string interfaceOf(std::uint8_t interfaceClass) {
  return sim::interface(interfaceClass, 0, 0);
}

inline sim::UsbDevice deviceOfClass(std::uint8_t interfaceClass) {
  return deviceWith(interfaceOf(interfaceClass) + sim::endpoint(sim::transfer_type::bulk));
}

inline sim::UsbDevice mouse() {
  return deviceWithRaw(sim::mouseDescriptors());
}

/** The only kind of device that the settings as they are by default refuse. */
inline sim::UsbDevice isochronousDevice() {
  return deviceWith(interfaceOf(sim::usb_class::vendor) + sim::endpoint(sim::transfer_type::isochronous));
}

inline sim::UsbDevice highSpeedDevice() {
  sim::UsbDevice device = deviceOfClass(sim::usb_class::vendor);
  device.speed = "480";
  return device;
}

/** The same device in another port, with another name. */
inline sim::UsbDevice named(sim::UsbDevice device, const std::string& port, const std::string& product) {
  device.name = port;
  device.product = product;
  return device;
}
