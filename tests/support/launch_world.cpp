#include "support/launch_world.h"

#include <sys/wait.h>

#include <cstdlib>

#include "ctrl/link.h"

namespace support {

LaunchWorld::LaunchWorld() {
  setenv("PATH", "/sim/bin", 1);
  for (const char* name : {"usb_rx_scsi", "usb_rx_keyboard", "usb_rx_generic"}) {
    sim::installWorkerStandin(std::string("/sim/bin/") + name);
  }
  ctrl_->socketPath = defaultSocketPath;
}

LaunchWorld::~LaunchWorld() {
  workers_.endAll();
}

LaunchWorld::Collection::~Collection() {
  while (waitpid(-1, nullptr, 0) > 0) {
  }
}

}  // namespace support
