#include "unit/workers/launch_world.h"

#include <cstdlib>

#include "control/socket_path.h"

LaunchWorld::LaunchWorld() {
  setenv("PATH", "/sim/bin", 1);
  for (const char* name : {"usb_rx_scsi", "usb_rx_keyboard", "usb_rx_generic"}) {
    sim::installWorkerStandin(std::string("/sim/bin/") + name);
  }
  ctrl->socketPath = defaultSocketPath;
}

std::string LaunchWorld::plugHiddev() const {
  const std::string node = device.path() + "/node";
  device.write("node/dev", "180:96\n");
  device.write("interface/bInterfaceClass", "03\n");
  std::filesystem::create_directory_symlink("../interface", node + "/device");
  return node;
}

void inLaunchWorld(const std::function<void(LaunchWorld&)>& body) {
  support::inPrivateWorld([&body] {
    LaunchWorld world;
    body(world);
  });
}
