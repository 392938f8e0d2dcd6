#include "hotplug/classification.h"

#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <string_view>

#include "ctrl/device_classes.h"
#include "ctrl/messages.h"
#include "hotplug/descriptor_kind.h"
#include "hotplug/sysfs.h"
#include "hotplug/usb_descriptors.h"
#include "ulx/exceptions.h"
#include "ulx/path.h"
#include "ulx/sleep.h"

namespace {

// The last component of the "subsystem" link; empty for a device that belongs to none.
std::string readSubsystem(const std::string& realPath) {
  std::array<char, 128> link{};
  const ssize_t length = readlink((realPath + "/subsystem").c_str(), link.data(), link.size());
  if (length == -1) {
    if (errno == ENOENT) {
      return {};
    }
    ulx::throwErrno("readlink()", errno);
  }
  const std::string_view target(link.data(), static_cast<std::size_t>(length));
  return std::string(target.substr(target.rfind('/') + 1));
}

// What sysfs says of a node of the USB subsystem so far.
enum class UsbNode {
  incomplete,  // not enough yet
  hid,         // a HID device node, which may have no "uevent" file
  device,      // a USB device, complete
  other,       // an interface, an endpoint or a class node
};

UsbNode lookAtUsbNode(std::uint32_t classes, const std::string& realPath) {
  if (!ulx::pathExists(realPath + "/uevent")) {
    return enablesClass(classes, keyboardClass) && isHiddevPath(realPath) ? UsbNode::hid
                                                                          : UsbNode::incomplete;
  }
  if (readAttribute(realPath, "uevent").find("DEVTYPE=usb_device") == std::string::npos) {
    return UsbNode::other;
  }
  return ulx::pathExists(realPath + "/bDeviceClass") ? UsbNode::device : UsbNode::incomplete;
}

// The kernel may announce a device before its attributes are there.
UsbNode waitForUsbNode(std::uint32_t classes, const std::string& realPath) {
  constexpr double patience = 3.0;  // seconds
  constexpr double pause = 0.05;    // seconds
  const double start = timestampNow();
  while (true) {
    const UsbNode node = lookAtUsbNode(classes, realPath);
    if (node != UsbNode::incomplete || timestampNow() - start > patience) {
      return node;
    }
    ulx::sleepSeconds(pause);
  }
}

// The first that fits is what the device is; it may have functions of other kinds, too.
DeviceKind classifyUsbDevice(std::uint32_t classes, const std::string& realPath) {
  if (readHexAttribute(realPath, "bDeviceClass") == hubClass) {
    return DeviceKind::hub;
  }
  const std::string descriptors = realPath + "/descriptors";
  if (enablesClass(classes, keyboardClass) && isKeyboardDescriptor(descriptors)) {
    return DeviceKind::keyboard;
  }
  if (enablesClass(classes, storageClass) && isStorageDescriptor(descriptors)) {
    return DeviceKind::storage;
  }
  return DeviceKind::generic;
}

DeviceKind classifyUsbNode(std::uint32_t classes, const std::string& realPath) {
  switch (waitForUsbNode(classes, realPath)) {
    case UsbNode::hid:
      return DeviceKind::hid;
    case UsbNode::device:
      return classifyUsbDevice(classes, realPath);
    case UsbNode::incomplete:
      return DeviceKind::undetermined;
    case UsbNode::other:
      break;
  }
  return DeviceKind::ignored;
}

}  // namespace

DeviceKind classify(std::uint32_t classes, const std::string& realPath) {
  const std::string subsystem = readSubsystem(realPath);
  logDebug("subsystem is '", subsystem, "'");
  if (subsystem == "usb") {
    return classifyUsbNode(classes, realPath);
  }
  return enablesClass(classes, storageClass) && subsystem == "scsi_generic" ? DeviceKind::scsiGeneric
                                                                            : DeviceKind::ignored;
}
