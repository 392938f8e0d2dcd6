#include "hotplug/descriptor_kind.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdint>

#include "ulx/file_descriptor.h"

namespace {

/** HID protocol code (HID 1.11, 4.3). */
constexpr std::uint8_t keyboardProtocol = 1;

/** Subclass and protocol codes of mass storage (Mass Storage Class Overview 1.4, tables 1 and 2). */
constexpr std::uint8_t atapiCommands = 0x02;
constexpr std::uint8_t scsiCommands = 0x06;
constexpr std::uint8_t bulkOnlyTransport = 0x50;

UsbDeviceDescriptor readDevice(const ulx::FileDescriptor& file) {
  UsbDeviceDescriptor device{};
  file.readDeviceDescriptor(device);
  if (device[bDescriptorType] != deviceDescriptorType) {
    throw "Not a device descriptor";
  }
  return device;
}

bool isKeyboardInterface(DescriptorBytes interface) {
  return interface[bInterfaceClass] == hidClass && interface[bInterfaceProtocol] == keyboardProtocol;
}

bool isStorageInterface(DescriptorBytes interface) {
  return interface[bInterfaceClass] == massStorageClass &&
         (interface[bInterfaceSubClass] == scsiCommands || interface[bInterfaceSubClass] == atapiCommands) &&
         interface[bInterfaceProtocol] == bulkOnlyTransport;
}

}  // namespace

bool isKeyboardDescriptor(const std::string& descriptorsPath) {
  const ulx::FileDescriptor file(descriptorsPath, O_RDONLY);
  const UsbDeviceDescriptor device = readDevice(file);
  return device[bDeviceClass] == classPerInterface &&
         everyInterfaceIsKeyboard(descriptorBytes(file.readAll()));
}

bool isStorageDescriptor(const std::string& descriptorsPath) {
  const ulx::FileDescriptor file(descriptorsPath, O_RDONLY);
  const UsbDeviceDescriptor device = readDevice(file);
  return device[bDeviceClass] == classPerInterface && device[bNumConfigurations] == 1 &&
         hasSingleStorageInterface(descriptorBytes(file.readAll()));
}

bool everyInterfaceIsKeyboard(DescriptorBytes configurations) {
  return std::ranges::all_of(DescriptorWalk(configurations, interfaceDescriptorType, bInterfaceProtocol),
                             isKeyboardInterface);
}

bool hasSingleStorageInterface(DescriptorBytes configurations) {
  int interfaces = 0;
  for (const DescriptorBytes interface :
       DescriptorWalk(configurations, interfaceDescriptorType, bInterfaceProtocol)) {
    if (!isStorageInterface(interface)) {
      return false;
    }
    ++interfaces;
  }
  return interfaces == 1;
}
