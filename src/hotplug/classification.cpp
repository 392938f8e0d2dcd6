#include "hotplug/classification.h"

#include <chrono>
#include <string>

#include "ctrl/device_classes.h"
#include "ctrl/messages.h"
#include "hotplug/descriptor_kind.h"
#include "hotplug/sysfs.h"
#include "hotplug/usb_descriptors.h"
#include "ulx/sleep.h"

namespace {

// What sysfs says of a node of the USB subsystem so far.
enum class UsbNode {
  incomplete,  // not enough yet
  hid,         // a HID device node, which may have no "uevent" file
  device,      // a USB device, complete
  other,       // an interface, an endpoint or a class node
};

UsbNode lookAtUsbNode(std::uint32_t classes, const DeviceAttributes& device) {
  if (!device.has("uevent")) {
    return enablesClass(classes, keyboardClass) && isHiddevPath(device.path()) ? UsbNode::hid
                                                                               : UsbNode::incomplete;
  }
  if (device.text("uevent").find("DEVTYPE=usb_device") == std::string::npos) {
    return UsbNode::other;
  }
  return device.has("bDeviceClass") ? UsbNode::device : UsbNode::incomplete;
}

bool passes(bool (*test)(DescriptorBytes descriptors), const DeviceAttributes& device) {
  const std::string descriptors = device.content("descriptors");
  return test(descriptorBytes(descriptors));
}

// The first that fits is what the device is; it may have functions of other kinds, too.
DeviceKind classifyUsbDevice(std::uint32_t classes, const DeviceAttributes& device) {
  if (device.hexadecimal("bDeviceClass") == hubClass) {
    return DeviceKind::hub;
  }
  if (enablesClass(classes, keyboardClass) && passes(isKeyboardDescriptor, device)) {
    return DeviceKind::keyboard;
  }
  if (enablesClass(classes, storageClass) && passes(isStorageDescriptor, device)) {
    return DeviceKind::storage;
  }
  return DeviceKind::generic;
}

DeviceKind classifyUsbNode(std::uint32_t classes, const DeviceAttributes& device) {
  switch (lookAtUsbNode(classes, device)) {
    case UsbNode::hid:
      return DeviceKind::hid;
    case UsbNode::device:
      return classifyUsbDevice(classes, device);
    case UsbNode::incomplete:
      return DeviceKind::undetermined;
    case UsbNode::other:
      break;
  }
  return DeviceKind::ignored;
}

// The kernel may announce a device before its attributes are there. The wall clock may be set meanwhile.
DeviceKind waitForUsbNode(std::uint32_t classes, const DeviceAttributes& device) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::seconds patience(3);
  constexpr double pause = 0.05;  // seconds
  const Clock::time_point start = Clock::now();
  while (true) {
    const DeviceKind kind = classifyUsbNode(classes, device);
    if (kind != DeviceKind::undetermined || Clock::now() - start > patience) {
      return kind;
    }
    ulx::sleepSeconds(pause);
  }
}

using UsbClassification = DeviceKind(std::uint32_t classes, const DeviceAttributes& device);

DeviceKind classifyBySubsystem(std::uint32_t classes, const DeviceAttributes& device,
                               UsbClassification* classifyUsb) {
  const std::string subsystem = device.subsystem();
  logDebug("subsystem is '", subsystem, "'");
  if (subsystem == "usb") {
    return classifyUsb(classes, device);
  }
  return enablesClass(classes, storageClass) && subsystem == scsiGenericSubsystem ? DeviceKind::scsiGeneric
                                                                                  : DeviceKind::ignored;
}

}  // namespace

DeviceKind classify(std::uint32_t classes, const DeviceAttributes& device) {
  return classifyBySubsystem(classes, device, waitForUsbNode);
}

DeviceKind classifyAsItIs(std::uint32_t classes, const DeviceAttributes& device) {
  return classifyBySubsystem(classes, device, classifyUsbNode);
}
