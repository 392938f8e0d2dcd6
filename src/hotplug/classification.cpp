#include "hotplug/classification.h"

#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
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
  const std::string path = realPath + "/subsystem";
  std::array<char, 128> link{};
  const ssize_t length = readlink(path.c_str(), link.data(), link.size());
  if (length == -1) {
    const int error = errno;
    if (error == ENOENT) {
      return {};
    }
    ulx::throwErrno("readlink()", error);
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

// The kernel may announce a device before its attributes are there. The wall clock may be set meanwhile.
UsbNode waitForUsbNode(std::uint32_t classes, const std::string& realPath) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::seconds patience(3);
  constexpr double pause = 0.05;  // seconds
  const Clock::time_point start = Clock::now();
  while (true) {
    const UsbNode node = lookAtUsbNode(classes, realPath);
    if (node != UsbNode::incomplete || Clock::now() - start > patience) {
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
