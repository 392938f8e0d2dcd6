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
  ~LaunchWorld() override;

  /** How the next worker was started; they come in the order of their starts. */
  [[nodiscard]] sim::WorkerStart nextStart() { return workers_.waitForWorker().start; }
  void connectClient() { ctrl_->controlConnection = std::make_unique<ControlConnection>(-1); }

  /** Goes after the workers' board, and collects them all, lest a later test of the process meets them. */
  struct Collection {
    ~Collection();
  };

  Collection collection_;
  sim::Workers workers_;
  TestCtrl ctrl_;
  DeviceDirectory device_;
};

}  // namespace support
