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
    generic = &workerOf(plug(mouse(), fullSpeedSocket(1)).directory);
    plug(disk(), highSpeedSocket(1));
    storage = &workerOf(storageNode());
  }

  void expectThatTheStorageWorkerAloneLivesOn() {
    generic->waitForEnd();
    EXPECT_TRUE(storage->isRunning());
  }

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
  EXPECT_EQ(workers.waitForWorkerOf(generic->device()).start.arguments, genericWorker(generic->device()));
  EXPECT_EQ(workers.waitForWorkerOf(storage->device()).start.arguments, storageWorker(storage->device()));
}

}  // namespace
}  // namespace guest
