#include "hotplug/classification.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "ctrl/clock.h"
#include "ctrl/messages.h"
#include "ctrl/settings.h"
#include "hotplug/descriptor_tests.h"
#include "hotplug/sysfs.h"
#include "hotplug/usb_descriptors.h"
#include "ulx/exceptions.h"
#include "ulx/path.h"
#include "ulx/sleep.h"
#include "ulx/working_directory.h"
#include "workers/admission.h"
#include "workers/launch.h"

namespace {

enum class DeviceKind {
  scsiGeneric,   // a SCSI generic node: usb_rx_scsi
  hid,           // a HID device node: usb_rx_keyboard
  hub,           // no worker
  keyboard,      // no worker: its HID device node comes as an event of its own
  storage,       // no worker: its SCSI generic node comes as an event of its own
  unsupported,   // refused by the admission check, which tells the user
  generic,       // any other USB device: the generic worker
  undetermined,  // sysfs did not tell in time
  ignored,       // none of the above: nothing is said of it
};

void debug(std::string_view text) {
  if (settings.debugCtrl) {
    DebugMessage(ctrlTag) << text;
  }
}

// The device's own directory, whichever link of sysfs `devpath` names it by.
std::string resolveDevicePath(const std::string& devpath) {
  ulx::DirectoryVisit visit("/sys" + devpath);
  std::string realPath = ulx::currentDirectory();
  visit.leave();
  return realPath;
}

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

// What sysfs tells of a node of the USB subsystem so far.
enum class UsbNode {
  incomplete,  // not enough yet
  hid,         // a HID device node, which may have no "uevent" file
  device,      // a USB device, complete
  other,       // an interface, an endpoint or a class node
};

UsbNode lookAtUsbNode(const RxCtrl& ctrl, const std::string& realPath) {
  if (!ulx::pathExists(realPath + "/uevent")) {
    return enablesClass(ctrl, keyboardClass) && isHiddevPath(realPath) ? UsbNode::hid : UsbNode::incomplete;
  }
  if (readAttribute(realPath, "uevent").find("DEVTYPE=usb_device") == std::string::npos) {
    return UsbNode::other;
  }
  return ulx::pathExists(realPath + "/bDeviceClass") ? UsbNode::device : UsbNode::incomplete;
}

// The kernel may announce a device before its attributes are there.
UsbNode waitForUsbNode(const RxCtrl& ctrl, const std::string& realPath) {
  constexpr double patience = 3.0;  // seconds
  constexpr double pause = 0.05;    // seconds
  const double start = timestampNow();
  while (true) {
    const UsbNode node = lookAtUsbNode(ctrl, realPath);
    if (node != UsbNode::incomplete || timestampNow() - start > patience) {
      return node;
    }
    ulx::sleepSeconds(pause);
  }
}

// The first that fits is what the device is, whatever else it could be.
DeviceKind classifyUsbDevice(RxCtrl& ctrl, const std::string& realPath) {
  if (readHexAttribute(realPath, "bDeviceClass") == hubClass) {
    return DeviceKind::hub;
  }
  const std::string descriptors = realPath + "/descriptors";
  if (enablesClass(ctrl, keyboardClass) && isKeyboardDescriptor(descriptors)) {
    return DeviceKind::keyboard;
  }
  if (enablesClass(ctrl, storageClass) && isStorageDescriptor(descriptors)) {
    return DeviceKind::storage;
  }
  return checkAdmission(ctrl, realPath) ? DeviceKind::generic : DeviceKind::unsupported;
}

DeviceKind classifyUsbNode(RxCtrl& ctrl, const std::string& realPath) {
  switch (waitForUsbNode(ctrl, realPath)) {
    case UsbNode::hid:
      return DeviceKind::hid;
    case UsbNode::device:
      return classifyUsbDevice(ctrl, realPath);
    case UsbNode::incomplete:
      return DeviceKind::undetermined;
    case UsbNode::other:
      break;
  }
  return DeviceKind::ignored;
}

DeviceKind classify(RxCtrl& ctrl, const std::string& realPath) {
  const std::string subsystem = readSubsystem(realPath);
  if (settings.debugCtrl) {
    DebugMessage(ctrlTag) << "subsystem is '" << subsystem << "'";
  }
  if (subsystem == "usb") {
    return classifyUsbNode(ctrl, realPath);
  }
  return enablesClass(ctrl, storageClass) && subsystem == "scsi_generic" ? DeviceKind::scsiGeneric
                                                                         : DeviceKind::ignored;
}

void act(RxCtrl& ctrl, DeviceKind kind, const std::string& realPath) {
  switch (kind) {
    case DeviceKind::scsiGeneric:
      debug("this is a generic scsi device");
      launchScsiWorker(ctrl, realPath);
      break;
    case DeviceKind::hid:
      debug("this is HID device");
      launchKeyboardWorker(ctrl, realPath);
      break;
    case DeviceKind::hub:
      debug("this is a hub device");
      break;
    case DeviceKind::keyboard:
      debug("this is a keyboard device");
      break;
    case DeviceKind::storage:
      debug("this is a storage device");
      break;
    case DeviceKind::unsupported:
      debug("this is an unsupported USB device");
      break;
    case DeviceKind::generic:
      debug("this is a generic USB device");
      launchGenericWorker(ctrl, realPath);
      break;
    case DeviceKind::undetermined:
      debug("timed out waiting to determine sort of USB thing");
      break;
    case DeviceKind::ignored:
      break;
  }
}

void handle(RxCtrl& ctrl, const std::string& action, const std::string& devpath) {
  if (settings.debugCtrl) {
    DebugMessage(ctrlTag) << action << " " << devpath;
  }
  // The worker of a removed device ends by itself.
  if (action != "add") {
    return;
  }
  const std::string realPath = resolveDevicePath(devpath);
  if (ctrl.workers.byPath.contains(realPath)) {
    debug("a subprocess is already handling this device");
    return;
  }
  act(ctrl, classify(ctrl, realPath), realPath);
}

}  // namespace

// By value, and unused: every caller hands over the speed of the moment, on which nothing depends so far.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void handleUEvent(RxCtrl& ctrl, const UEvent& event, std::string /*speed*/) noexcept {
  const auto action = event.find("ACTION");
  const auto devpath = event.find("DEVPATH");
  if (action == event.end() || devpath == event.end()) {
    return;
  }
  try {
    handle(ctrl, action->second, devpath->second);
  } catch (...) {
    debug("Exception while processing uevent; ignored.");
  }
}
