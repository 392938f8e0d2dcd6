#include "hotplug/descriptor_kind.h"

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

UsbDeviceDescriptor deviceDescriptor(DescriptorBytes descriptors) {
  if (descriptors.size() < UsbDeviceDescriptor::extent) {
    throw ulx::FileDescriptor::EndOfFile();
  }
  const auto device = descriptors.first<UsbDeviceDescriptor::extent>();
  if (device[bDescriptorType] != deviceDescriptorType) {
    throw "Not a device descriptor";
  }
  return device;
}

bool hasSingleStorageInterface(DescriptorBytes descriptors) {
  int interfaces = 0;
  for (const DescriptorBytes interface : interfacesOf(descriptors)) {
    if (!isStorageInterface(interface)) {
      return false;
    }
    ++interfaces;
  }
  return interfaces == 1;
}

}  // namespace

DescriptorWalk interfacesOf(DescriptorBytes descriptors) {
  return {descriptors.subspan(UsbDeviceDescriptor::extent), interfaceDescriptorType, bInterfaceProtocol};
}

bool isKeyboardInterface(DescriptorBytes interface) {
  return interface[bInterfaceClass] == hidClass && interface[bInterfaceProtocol] == keyboardProtocol;
}

bool isStorageInterface(DescriptorBytes interface) {
  return interface[bInterfaceClass] == massStorageClass &&
         (interface[bInterfaceSubClass] == scsiCommands || interface[bInterfaceSubClass] == atapiCommands) &&
         interface[bInterfaceProtocol] == bulkOnlyTransport;
}

bool isKeyboardDescriptor(DescriptorBytes descriptors) {
  const UsbDeviceDescriptor device = deviceDescriptor(descriptors);
  return device[bDeviceClass] == classPerInterface &&
         std::ranges::all_of(interfacesOf(descriptors), isKeyboardInterface);
}

bool isStorageDescriptor(DescriptorBytes descriptors) {
  const UsbDeviceDescriptor device = deviceDescriptor(descriptors);
  return device[bDeviceClass] == classPerInterface && device[bNumConfigurations] == 1 &&
         hasSingleStorageInterface(descriptors);
}
