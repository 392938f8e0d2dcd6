#include "hotplug/uevent_handler.h"

#include <string>
#include <string_view>

#include "ctrl/messages.h"
#include "hotplug/classification.h"
#include "hotplug/sysfs.h"
#include "ulx/working_directory.h"
#include "workers/admission.h"
#include "workers/launch.h"

namespace {

// The device's own directory; `devpath` may name it by any link of sysfs.
std::string resolveDevicePath(std::string_view devpath) {
  ulx::DirectoryVisit visit(std::string("/sys").append(devpath));
  std::string realPath = ulx::currentDirectory();
  visit.leave();
  return realPath;
}

// The policy concerns generic devices only.
DeviceKind decideKind(RxCtrl& ctrl, const DeviceAttributes& device) {
  const DeviceKind kind = classify(ctrl.classes, device);
  const bool isRefused = kind == DeviceKind::generic && !checkAdmission(ctrl, device);
  return isRefused ? DeviceKind::unsupported : kind;
}

void serve(RxCtrl& ctrl, DeviceKind kind, const std::string& realPath) {
  switch (kind) {
    case DeviceKind::scsiGeneric:
      logDebug("this is a generic scsi device");
      launchScsiWorker(ctrl, realPath);
      break;
    case DeviceKind::hid:
      logDebug("this is HID device");
      launchKeyboardWorker(ctrl, realPath);
      break;
    case DeviceKind::hub:
      logDebug("this is a hub device");
      break;
    case DeviceKind::keyboard:
      logDebug("this is a keyboard device");
      break;
    case DeviceKind::storage:
      logDebug("this is a storage device");
      break;
    case DeviceKind::unsupported:
      logDebug("this is an unsupported USB device");
      break;
    case DeviceKind::generic:
      logDebug("this is a generic USB device");
      launchGenericWorker(ctrl, realPath);
      break;
    case DeviceKind::undetermined:
      logDebug("timed out waiting to determine sort of USB thing");
      break;
    case DeviceKind::ignored:
      break;
  }
}

void handle(RxCtrl& ctrl, std::string_view action, std::string_view devpath) {
  logDebug(action, " ", devpath);
  // The worker of a removed device ends by itself.
  if (action != "add") {
    return;
  }
  const SysfsDevice device(resolveDevicePath(devpath));
  if (ctrl.workers.byPath.contains(device.path())) {
    logDebug("a subprocess is already handling this device");
    return;
  }
  serve(ctrl, decideKind(ctrl, device), device.path());
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): every caller hands over the speed of the moment
void handleUEvent(RxCtrl& ctrl, const UEvent& event, std::string /*speed*/) noexcept {
  const auto action = event.find("ACTION");
  const auto devpath = event.find("DEVPATH");
  if (action == event.end() || devpath == event.end()) {
    return;
  }
  try {
    handle(ctrl, action->second, devpath->second);
  } catch (...) {
    logDebug("Exception while processing uevent; ignored.");
  }
}
