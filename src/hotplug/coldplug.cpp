#include "hotplug/coldplug.h"

#include <string>

#include "ctrl/device_classes.h"
#include "ctrl/messages.h"
#include "hotplug/descriptor_kind.h"
#include "hotplug/sysfs.h"
#include "hotplug/uevent.h"
#include "hotplug/uevent_handler.h"
#include "hotplug/usb_descriptors.h"
#include "ulx/directory.h"
#include "ulx/path.h"

namespace {

constexpr const char* usbDevices = "/sys/bus/usb/devices";
constexpr const char* hidNodes = "/sys/class/usb";
constexpr const char* scsiGenericNodes = "/sys/class/scsi_generic";

void offer(RxCtrl& ctrl, const std::string& entry) {
  handleUEvent(ctrl, makeAddEvent(entry), ctrl.speed);
}

// Interfaces and hubs are listed too; the handler knows them.
void offerUsbDevices(RxCtrl& ctrl) {
  for (const std::string& entry : ulx::Directory(usbDevices)) {
    offer(ctrl, entry);
  }
}

void offerKeyboards(RxCtrl& ctrl) {
  logDebug("coldplugging keyboards");
  for (const std::string& entry : ulx::Directory(hidNodes)) {
    if (isBootKeyboardNode(SysfsDevice(entry))) {
      offer(ctrl, entry);
    }
  }
}

void offerStorage(RxCtrl& ctrl) {
  logDebug("colplugging storage devices");  // spelt so in every unit's log
  for (const std::string& entry : ulx::Directory(scsiGenericNodes)) {
    offer(ctrl, entry);
  }
}

}  // namespace

// Only here is a keyboard asked for the boot interface: one that has just been plugged in need not have it.
bool isBootKeyboardNode(const DeviceAttributes& node) {
  constexpr unsigned long bootInterface = 1;  // bInterfaceSubClass (HID 1.11, 4.2)
  return isHiddevPath(node.path()) &&
         isKeyboardDescriptor(descriptorBytes(node.content("device/../descriptors"))) &&
         node.hexadecimal("device/bInterfaceSubClass") == bootInterface;
}

void coldplug(RxCtrl& ctrl) {
  offerUsbDevices(ctrl);
  if (enablesClass(ctrl.classes, keyboardClass) && ulx::pathExists(hidNodes)) {
    offerKeyboards(ctrl);
  }
  if (enablesClass(ctrl.classes, storageClass) && ulx::pathExists(scsiGenericNodes)) {
    offerStorage(ctrl);
  }
}
