#include "hotplug/classification.h"

#include <chrono>
#include <optional>
#include <string>

#include "ctrl/device_classes.h"
#include "ctrl/messages.h"
#include "hotplug/descriptor_kind.h"
#include "hotplug/sysfs.h"
#include "hotplug/usb_descriptors.h"
#include "ulx/sleep.h"

namespace {

// The first that fits is what the device is; it may have functions of other kinds, too.
DeviceKind classifyUsbDevice(std::uint32_t classes, unsigned long deviceClass,
                             const DeviceAttributes& device) {
  if (deviceClass == hubClass) {
    return DeviceKind::hub;
  }
  if (enablesClass(classes, keyboardClass) && isKeyboardDescriptor(device.descriptors())) {
    return DeviceKind::keyboard;
  }
  if (enablesClass(classes, storageClass) && isStorageDescriptor(device.descriptors())) {
    return DeviceKind::storage;
  }
  return DeviceKind::generic;
}

// Undetermined as long as sysfs lacks something. The node of a HID device may have no "uevent" at all.
DeviceKind classifyUsbNode(std::uint32_t classes, const DeviceAttributes& device) {
  const std::optional<std::string> uevent = device.find("uevent");
  if (!uevent) {
    return enablesClass(classes, keyboardClass) && isHiddevPath(device.path()) ? DeviceKind::hid
                                                                               : DeviceKind::undetermined;
  }
  if (uevent->find("DEVTYPE=usb_device") == std::string::npos) {
    return DeviceKind::ignored;
  }
  const std::optional<std::string> deviceClass = device.find("bDeviceClass");
  return deviceClass ? classifyUsbDevice(classes, hexadecimalAtStart(*deviceClass), device)
                     : DeviceKind::undetermined;
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
