#pragma once

#include <unistd.h>

#include <functional>
#include <memory>
#include <string>

#include "control/control_server.h"
#include "ctrl/rx_ctrl.h"
#include "sim/sysfs.h"
#include "support/child.h"
#include "support/control_client.h"
#include "ulx/pipe.h"

/** Runs `body` in a child of the test, on a unit of its own where no USB device is plugged in. */
inline void inUnitWithoutDevices(const std::function<void()>& body) {
  support::inPrivateWorld([&body] {
    const sim::Sysfs sysfs;
    body();
  });
}

/** Lets the main loop end after its first turn: its control connection is at its end. */
inline void endAtOnce(RxCtrl& ctrl) {
  const ulx::Pipe pipe;
  ctrl.controlConnection = std::make_unique<ControlConnection>(dup(pipe.readEnd.fd()));
}

/** Delivers new parameters and leaves, which ends the main loop in the turn that serves it. */
inline void deliverParameters(const RxCtrl& ctrl, const std::string& line) {
  const support::ControlClient client(ctrl.socketPath);
  client.send(line);
}
