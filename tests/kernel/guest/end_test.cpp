// The daemon's end, and what becomes of its workers.

#include <csignal>

#include "kernel/guest/receiver_unit.h"

namespace guest {
namespace {

/** A unit with a generic worker and a storage worker. */
class End : public ReceiverUnit {
 protected:
  End() {
    start({"--class=scsi"});
    device = plug(mouse(), fullSpeedSocket(1));
    generic = &genericWorkerOf(device);
    plug(disk(), highSpeedSocket(1));
    node = storageNode();
    storage = &storageWorkerOf(node);
  }

  void expectThatTheStorageWorkerAloneLivesOn() {
    generic->waitForEnd();
    EXPECT_TRUE(storage->isRunning());
  }

  PluggedDevice device;
  std::string node;
  sim::Worker* generic = nullptr;
  sim::Worker* storage = nullptr;
};

TEST_F(End, ComesWithTheControlConnectionsAndTakesGenericWorkersAlong) {
  deliver().close();
  EXPECT_EQ(daemon->waitForExit(), sim::ProcessEnd::exited(0));
  expectThatTheStorageWorkerAloneLivesOn();
}

TEST_F(End, ByASignalTakesGenericWorkersAlong) {
  daemon->signal(SIGTERM);
  EXPECT_EQ(daemon->waitForExit(), sim::ProcessEnd::killedBy(SIGTERM));
  expectThatTheStorageWorkerAloneLivesOn();
}

TEST_F(End, LetsTheNextDaemonStartWithTheDevicesThatAreThere) {
  deliver().close();
  EXPECT_EQ(daemon->waitForExit(), sim::ProcessEnd::exited(0));
  generic->waitForEnd();
  start({"--class=scsi"});
  expectGenericAndStorageWorker(device, node);
}

}  // namespace
}  // namespace guest
