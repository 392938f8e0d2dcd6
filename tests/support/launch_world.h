#pragma once

#include <memory>
#include <string>

#include "sim/workers.h"
#include "support/device_directory.h"
#include "support/private_world.h"
#include "support/test_ctrl.h"

namespace support {

/** A private world with a stand-in for each worker on the path, the daemon's state, and one device. */
class LaunchWorld : public PrivateWorld {
 protected:
  LaunchWorld();
  /** Collects the workers, lest a later test of the process meets them. */
  ~LaunchWorld() override;

  /** How the next worker was started; they come in the order of their starts. */
  [[nodiscard]] sim::WorkerStart nextStart() { return board_.waitForWorker().start; }
  void connectClient() { ctrl_->controlConnection = std::make_unique<ControlConnection>(-1); }

  sim::Workers board_;
  TestCtrl ctrl_;
  DeviceDirectory device_;
};

}  // namespace support
