#pragma once

#include <unistd.h>

#include <memory>
#include <string>

#include "control/control_server.h"
#include "ctrl/rx_ctrl.h"
#include "tests/support/control_client.h"
#include "ulx/pipe.h"

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
