#include "support/launch_world.h"

#include <sys/wait.h>

#include <cstdlib>

#include "control/socket_path.h"

namespace support {

LaunchWorld::LaunchWorld() {
  setenv("PATH", "/sim/bin", 1);
  for (const char* name : {"usb_rx_scsi", "usb_rx_keyboard", "usb_rx_generic"}) {
    sim::installWorkerStandin(std::string("/sim/bin/") + name);
  }
  ctrl_->socketPath = defaultSocketPath;
}

LaunchWorld::~LaunchWorld() {
  board_.endAll();
  while (waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

}  // namespace support
