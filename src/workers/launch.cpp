#include "workers/launch.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <vector>

#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/messages.h"
#include "ctrl/osd.h"
#include "ctrl/settings.h"
#include "ctrl/signals.h"
#include "hotplug/sysfs.h"
#include "ulx/exceptions.h"
#include "workers/exit_status.h"
#include "workers/worker_arguments.h"

namespace {

// What a worker does when the daemon ends.
enum class Orphan { livesOn, isTerminated };

TransmitterLink linkOf(const RxCtrl& ctrl) {
  return {.interface = ctrl.interface, .hostname = ctrl.hostname, .port = ctrl.port};
}

// What execvp takes: pointers into `arguments`, which it does not change, and a null.
std::vector<char*> argumentVector(WorkerArguments& arguments) {
  std::vector<char*> vector;
  vector.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    vector.push_back(argument.data());
  }
  vector.push_back(nullptr);
  return vector;
}

// In the forked child: becomes the worker, or ends with the status that says it could not.
[[noreturn]] void becomeWorker(char* const* arguments, Orphan orphan, pid_t daemon) {
  if (orphan == Orphan::isTerminated) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != daemon) {
      _exit(EXIT_SUCCESS);  // the daemon ended before the kernel knew
    }
  }
  restoreDefaultSignals();
  execvp(arguments[0], arguments);
  _exit(execFailedStatus);
}

void startWorker(RxCtrl& ctrl, const std::string& devicePath, WorkerArguments arguments, Orphan orphan) {
  const std::vector<char*> vector = argumentVector(arguments);
  const pid_t daemon = getpid();
  const pid_t pid = fork();
  if (pid == -1) {
    ulx::throwErrno("fork()", errno);
  }
  if (pid == 0) {
    becomeWorker(vector.data(), orphan, daemon);
  }
  ctrl.addWorker(pid, devicePath);
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

void launchScsiWorker(RxCtrl& ctrl, const std::string& devicePath) {
  logDebug("starting usb_rx_scsi for ", devicePath);
  startWorker(ctrl, devicePath, scsiArguments(workerLog(&Settings::debugScsi), linkOf(ctrl), devicePath),
              Orphan::livesOn);

  announceAttached(ctrl.osd, diskName(SysfsDevice(devicePath + "/device")));
}

void launchKeyboardWorker(RxCtrl& ctrl, const std::string& devicePath) {
  const DeviceNumber number = parseDeviceNumber(readAttribute(devicePath, "dev"));
  logDebug("starting usb_rx_keyboard for ", devicePath, " (", number.major, ":", number.minor, ")");
  startWorker(ctrl, devicePath, keyboardArguments(workerLog(&Settings::debugKeyboard), linkOf(ctrl), number),
              Orphan::livesOn);

  announceAttached(ctrl.osd, readDeviceName(devicePath + "/device/.."));
}

void launchGenericWorker(RxCtrl& ctrl, const std::string& devicePath) {
  if (!ctrl.attachBlocked) {
    ctrl.lastGenericStart = timestampNow();
  }
  logDebug("starting usb_rx_generic for ", devicePath);
  startWorker(
      ctrl, devicePath,
      genericArguments(workerLog(&Settings::debugGeneric), genericOptionsOf(ctrl), linkOf(ctrl), devicePath),
      Orphan::isTerminated);

  if (ctrl.controlConnection != nullptr && !ctrl.attachBlocked) {
    announceAttached(ctrl.osd, readDeviceName(devicePath));
  }
}
