#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "sim/workers.h"
#include "support/child.h"
#include "support/device_directory.h"
#include "support/test_ctrl.h"

/** A private world with a stand-in for each worker on the path, the daemon's state, and one device. */
struct LaunchWorld {
  LaunchWorld();

  /** How the next worker was started; they come in the order of their starts. */
  [[nodiscard]] sim::WorkerStart nextStart() { return board.waitForWorker().start; }
  void connectClient() { ctrl->controlConnection = std::make_unique<ControlConnection>(-1); }
  /** Makes a keyboard's HID device node 180:96, two levels below the device; its directory. */
  [[nodiscard]] std::string plugHiddev() const;

  sim::Workers board;
  support::TestCtrl ctrl;
  support::DeviceDirectory device;
};

/** Runs `body` in such a world, in a child of the test. */
void inLaunchWorld(const std::function<void(LaunchWorld&)>& body);
