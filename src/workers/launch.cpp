#include "workers/launch.h"

#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/messages.h"
#include "ctrl/osd.h"
#include "ctrl/settings.h"
#include "hotplug/sysfs.h"
#include "workers/worker_arguments.h"
#include "workers/worker_process.h"

namespace {

TransmitterLink linkOf(const RxCtrl& ctrl) {
  return {.interface = ctrl.interface, .hostname = ctrl.hostname, .port = ctrl.port};
}

GenericOptions genericOptionsOf(const RxCtrl& ctrl) {
  GenericOptions options{.program = genericProgram(),
                         .inkey = ctrl.inkey,
                         .outkey = ctrl.outkey,
                         .socketPath = ctrl.socketPath,
                         .timeoutText = {}};
  if (ctrl.attachBlocked) {
    options.timeoutText = ctrl.connectFailTimeoutText;
  }
  return options;
}

}  // namespace

WorkerLog workerLog(bool Settings::*debug) {
  if (!(settings.*debug)) {
    return WorkerLog::quiet;
  }
  return settings.logToSyslog ? WorkerLog::debugToSyslog : WorkerLog::debugToStderr;
}

std::string genericProgram() {
  const char* program = getConfigString(configuration_key::genericProgram);
  return program == nullptr ? "usb_rx_generic" : program;
}

std::string diskName(const DeviceAttributes& unit) {
  const std::string vendor = unit.textOr("vendor", "");
  return vendor + " " + unit.textOr("model", unnamedDevice);
}

std::string attachedMessage(const std::string& deviceName) {
  return deviceName + " attached";
}

void announceAttached(const OsdSink& osd, const std::string& deviceName) {
  showMessage(osd, attachedMessage(deviceName));
}

// Signals are held from here on in each launcher: the user learns of a device before a worker that cannot be executed ends
// the daemon.

void launchScsiWorker(RxCtrl& ctrl, const std::string& devicePath) {
  logDebug("starting usb_rx_scsi for ", devicePath);
  const HeldSignals held;
  const pid_t worker = createWorker(
      held, scsiArguments(workerLog(&Settings::debugScsi), linkOf(ctrl), devicePath), Orphan::livesOn);
  ctrl.addWorker(worker, devicePath);

  announceAttached(ctrl.osd, diskName(SysfsDevice(devicePath + "/device")));
}

void launchKeyboardWorker(RxCtrl& ctrl, const std::string& devicePath) {
  const DeviceNumber number = parseDeviceNumber(readAttribute(devicePath, "dev"));
  logDebug("starting usb_rx_keyboard for ", devicePath, " (", number.major, ":", number.minor, ")");
  const HeldSignals held;
  const pid_t worker = createWorker(
      held, keyboardArguments(workerLog(&Settings::debugKeyboard), linkOf(ctrl), number), Orphan::livesOn);
  ctrl.addWorker(worker, devicePath);

  announceAttached(ctrl.osd, readDeviceName(devicePath + "/device/.."));
}

void launchGenericWorker(RxCtrl& ctrl, const std::string& devicePath) {
  if (!ctrl.attachBlocked) {
    ctrl.lastGenericStart = timestampNow();
  }
  logDebug("starting usb_rx_generic for ", devicePath);
  const HeldSignals held;
  const pid_t worker = createWorker(
      held,
      genericArguments(workerLog(&Settings::debugGeneric), genericOptionsOf(ctrl), linkOf(ctrl), devicePath),
      Orphan::isTerminated);
  ctrl.addWorker(worker, devicePath);

  if (ctrl.controlConnection != nullptr && !ctrl.attachBlocked) {
    announceAttached(ctrl.osd, readDeviceName(devicePath));
  }
}
