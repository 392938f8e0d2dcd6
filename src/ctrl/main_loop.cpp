/*
 * The daemon's one thread and one loop.
 *
 * Four sources are served in a fixed order: the kernel's uevents, ended workers, new control clients, and the
 * control connection that delivered the link parameters in force, whose readability ends the loop. One select
 * waits for all of them; then each is polled by itself, since serving one may take long enough for the state
 * of the others to change.
 *
 * The wait has no limit in effect, unless workers have been restarted: then 3 seconds without any event end
 * the streak of restarts. This is what blocks otherwise:
 *  - the handling of a uevent, up to a little over 3 seconds until sysfs says what a device is;
 *  - the start of a worker, until the kernel has found and opened its program;
 *  - the look after the devices of ended workers, 150 ms for each that is still there;
 *  - a control client that connects and sends nothing;
 *  - a writer that holds the configuration's lock;
 *  - a reader of standard output or standard error, or a syslogd, that does not read.
 * Meanwhile uevents wait in the socket's buffer and ended workers in the pipe.
 *
 * Two signal handlers run at any instant. That of SIGCHLD ends the program when a worker could not be executed
 * (status 42). Otherwise it writes one byte to a pipe, so that a worker that ends just before the wait is not
 * slept over. That of SIGHUP sets a flag that the next admission check reads. Neither touches what the loop
 * works on, and waits, reads and locks that they interrupt are resumed.
 *
 * Nothing is caught here: what a source throws ends the daemon, and main reports it.
 */

#include <csignal>
#include <cstdint>
#include <memory>
#include <string>

#include "control/control_requests.h"
#include "ctrl/link.h"
#include "ctrl/messages.h"
#include "ctrl/rx_ctrl.h"
#include "ctrl/signals.h"
#include "hotplug/coldplug.h"
#include "hotplug/sysfs.h"
#include "hotplug/uevent_handler.h"
#include "ulx/file_descriptor.h"
#include "ulx/wait.h"
#include "workers/launch.h"
#include "workers/supervision.h"

namespace {

constexpr float noLimit = 1'000'000.0F;  // seconds
constexpr float quietPeriod = 3.0F;      // seconds

ulx::FdSetRecord reading(const ulx::FileDescriptor& source) {
  ulx::FdSetRecord sets;
  sets.addReader(source.fd());
  return sets;
}

bool isReadable(const ulx::FileDescriptor& source) {
  return ulx::pollFd(reading(source));
}

ulx::FdSetRecord readingAll(const RxCtrl& ctrl) {
  ulx::FdSetRecord sets;
  sets.addReader(ctrl.uevents->fd());
  sets.addReader(childExitReadEnd().fd());
  sets.addReader(ctrl.listener.fd());
  if (ctrl.controlConnection != nullptr) {
    sets.addReader(ctrl.controlConnection->fd());
  }
  return sets;
}

bool waitForSources(const RxCtrl& ctrl, float seconds) {
  return ulx::waitForFd(readingAll(ctrl), seconds) != -1;
}

// However many children have ended, they are looked after once.
void drainChildExits() {
  do {
    std::uint8_t meaningless = 0;
    childExitReadEnd().readByte(meaningless);
  } while (isReadable(childExitReadEnd()));
}

// After new link parameters: the user learns again what is attached, except for devices that the link has
// become too slow for. The latter's workers are ended.
void announceWorkers(const RxCtrl& ctrl, bool droppedToFullSpeed) {
  for (const auto& [pid, devpath] : ctrl.workers.byPid) {
    if (droppedToFullSpeed && isHighSpeedDevice(devpath)) {
      kill(pid, SIGTERM);
    } else {
      announceAttached(ctrl.osd, readDeviceName(devpath));
    }
  }
}

// The client of the replaced connection still sees a connection, not an end.
void replaceControlConnection(RxCtrl& ctrl, int connection) {
  if (ctrl.controlConnection != nullptr) {
    ctrl.replacedConnections.insert(ctrl.controlConnection->fd());
  }
  ctrl.controlConnection = std::make_unique<ControlConnection>(connection);
}

void serveListener(RxCtrl& ctrl) {
  const std::string oldSpeed = ctrl.speed;
  const int connection = serveControlClient(ctrl);
  ctrl.lastGenericStart = 0.0;
  if (connection == 0) {
    return;
  }
  replaceControlConnection(ctrl, connection);
  announceWorkers(ctrl, ctrl.speed != oldSpeed && ctrl.speed == fullSpeedLink);
}

void serveReadySources(RxCtrl& ctrl) {
  if (isReadable(*ctrl.uevents)) {
    handleUEvent(ctrl, ctrl.uevents->readUEvent(), ctrl.speed);
  }
  if (isReadable(childExitReadEnd())) {
    drainChildExits();
    reapWorkers(ctrl);
  }
  if (isReadable(ctrl.listener)) {
    serveListener(ctrl);
  }
}

// The client that delivered the link parameters sends again or has gone; what it sends is not read.
bool controlConnectionHasEnded(const RxCtrl& ctrl) {
  return ctrl.controlConnection != nullptr && isReadable(*ctrl.controlConnection);
}

void serve(RxCtrl& ctrl) {
  float interval = noLimit;
  while (true) {
    if (ctrl.restartCount > 0) {
      interval = quietPeriod;  // stays so until a wait times out
    }
    if (!waitForSources(ctrl, interval)) {
      ctrl.restartCount = 0;
      interval = noLimit;
      continue;
    }
    serveReadySources(ctrl);
    if (controlConnectionHasEnded(ctrl)) {
      return;
    }
  }
}

}  // namespace

void RxCtrl::run() {
  installChildHandler();
  installHangupHandler();
  logDebug("coldplugging existing devices");
  coldplug(*this);
  logDebug("hotplugging new devices");
  serve(*this);
}
