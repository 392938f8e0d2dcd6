#include "workers/supervision.h"

#include <sys/types.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdint>
#include <set>
#include <string>

#include "ctrl/messages.h"
#include "ctrl/osd.h"
#include "ctrl/signals.h"
#include "hotplug/sysfs.h"
#include "hotplug/uevent.h"
#include "hotplug/uevent_handler.h"
#include "ulx/exceptions.h"
#include "ulx/path.h"
#include "ulx/sleep.h"
#include "workers/exit_status.h"

namespace {

/** More restarts than these in a row mean that there is no Transmitter. */
constexpr std::uint32_t toleratedRestarts = 8;

/** Begins the messages to the user that are written here. */
constexpr const char* osdPrefix = "<0>";

// The next child that has ended and its wait status, or 0.
pid_t nextEnded(int& status) {
  const pid_t pid = waitpid(-1, &status, WNOHANG);
  if (pid != -1) {
    return pid;
  }
  if (errno != ECHILD) {
    ulx::throwErrno("waitpid()", errno);
  }
  return 0;
}

// The signal of a child that ends while another's is pending is lost, and with it the status for the handler.
void endIfExecFailed(int status) {
  if (WIFEXITED(status) && WEXITSTATUS(status) == execFailedStatus) {
    endAfterFailedExec();
  }
}

void logEnd(pid_t pid, int status) {
  logDebug("subprocess ", pid, " has terminated");
  if (WIFSIGNALED(status)) {
    logDebug("  terminated due to signal ", WTERMSIG(status));
  } else if (WIFEXITED(status)) {
    logDebug("  exited with status ", WEXITSTATUS(status));
  }
}

// A failure long after the last start begins a new streak; otherwise it counts, and its restart counts again.
void countFailure(RxCtrl& ctrl) {
  if (timestampNow() - ctrl.lastGenericStart > ctrl.restartPeriod) {
    ctrl.restartCount = 0;
    ctrl.attachBlocked = false;
  } else {
    ++ctrl.restartCount;
  }
}

// A worker often ends because its device is being unplugged, a moment before sysfs shows it.
bool staysPresent(const std::string& devpath) {
  constexpr int rounds = 3;
  constexpr double pause = 0.05;  // seconds
  for (int round = 1; round <= rounds; ++round) {
    ulx::sleepSeconds(pause);
    if (!ulx::pathExists(devpath)) {
      return false;
    }
    if (round < rounds) {
      logDebug("device ", devpath, " still present; sleep again");
    }
  }
  return true;
}

void restart(RxCtrl& ctrl, const std::string& devpath) {
  logDebug("device ", devpath, " still present; restarting ", ctrl.restartCount);
  const UEvent event = makeAddEvent(devpath);
  if (ctrl.restartCount++ > toleratedRestarts) {
    ctrl.attachBlocked = true;
    showMessage(ctrl.osd,
                osdPrefix + readDeviceName(devpath) + " cannot be attached until Transmitter available");
  }
  handleUEvent(ctrl, event, ctrl.speed);
}

void restartIfPresent(RxCtrl& ctrl, const std::string& devpath) {
  if (staysPresent(devpath)) {
    restart(ctrl, devpath);
    return;
  }
  logDebug("device ", devpath, " has gone");
  ctrl.restartCount = 0;
}

// What becomes of a device whose worker has ended.
void followUp(RxCtrl& ctrl, const std::string& devpath, int exitStatus) {
  if (exitStatus == cannotConfigureStatus) {
    showMessage(ctrl.osd, osdPrefix + readDeviceName(devpath) +
                              " cannot be configured; please remove any intermediate hubs and/or device");
    return;
  }
  if (exitStatus == connectTimeoutStatus) {
    logDebug("RxGeneric exited due to timeout");
  } else {
    countFailure(ctrl);
  }
  restartIfPresent(ctrl, devpath);
}

// The process id of the device's worker, or 0.
pid_t workerOf(const WorkerTable& workers, const std::string& devpath) {
  const auto worker = workers.byPath.find(devpath);
  return worker == workers.byPath.end() ? 0 : worker->second;
}

// Returns the worker that was started in the place of the ended one, or 0.
pid_t replaceWorker(RxCtrl& ctrl, const std::string& devpath, int exitStatus) {
  const pid_t former = workerOf(ctrl.workers, devpath);  // another one of the same device
  followUp(ctrl, devpath, exitStatus);
  const pid_t present = workerOf(ctrl.workers, devpath);
  return present == former ? 0 : present;
}

// Returns the worker that was started in the place of the child, or 0.
pid_t handleEndedChild(RxCtrl& ctrl, pid_t pid, int status) {
  endIfExecFailed(status);
  logEnd(pid, status);
  const auto worker = ctrl.workers.byPid.find(pid);
  if (worker == ctrl.workers.byPid.end()) {
    logDebug("don't know what that subprocess was; maybe insmod");
    return 0;
  }
  const std::string devpath = worker->second;
  ctrl.workers.remove(pid);
  return replaceWorker(ctrl, devpath, WIFEXITED(status) ? WEXITSTATUS(status) : 0);
}

}  // namespace

void reapWorkers(RxCtrl& ctrl) {
  std::set<pid_t> started;  // workers, by this call
  int status = 0;
  for (pid_t pid = nextEnded(status); pid != 0; pid = nextEnded(status)) {
    const bool startedHere = started.contains(pid);
    if (const pid_t worker = handleEndedChild(ctrl, pid, status); worker != 0) {
      started.insert(worker);
    }
    if (startedHere) {
      return;
    }
  }
}
