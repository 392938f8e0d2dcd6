#include "kernel/guest/receiver_unit.h"

namespace guest {
namespace {

class Hotplug : public ReceiverUnit {};

TEST_F(Hotplug, StartsAGenericWorkerForAMouse) {
  start();
  const PluggedDevice& plugged = plug(mouse(), fullSpeedSocket(1));
  EXPECT_EQ(workerOf(plugged.directory).start.arguments, genericWorker(plugged.directory));
}

}  // namespace
}  // namespace guest
