// A configuration that changes while the daemon runs.

#include <csignal>

#include "kernel/guest/receiver_unit.h"

namespace guest {
namespace {

class Reload : public ReceiverUnit {
 protected:
  void reload(const std::string& usbSettings) {
    configure(usbSettings);
    daemon->signal(SIGHUP);
    settle();
  }
};

const std::string blocked = contract::display::massStorage(disk().product) + "\n";

TEST_F(Reload, HoldsForTheNextDevice) {
  start();
  reload("block_mass_storage = yes\n");
  plug(disk(), highSpeedSocket(1));
  EXPECT_EQ(display.takeWrites(), Lines{blocked});
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Reload, LeavesADeviceAloneThatIsAttached) {
  start();
  const PluggedDevice device = plug(disk(), highSpeedSocket(1));
  const sim::Worker& worker = genericWorkerOf(device);
  reload("block_mass_storage = yes\n");
  plug(disk(), highSpeedSocket(2));
  EXPECT_EQ(display.takeWrites(), Lines{blocked});
  EXPECT_EQ(daemon->children(), std::vector<pid_t>{worker.start.pid});
}

TEST_F(Reload, DoesNotHappenWithoutItsSignal) {
  start();
  configure("block_mass_storage = yes\n");
  const PluggedDevice device = plug(disk(), highSpeedSocket(1));
  genericWorkerOf(device);
}

TEST_F(Reload, AdmitsADeviceThatIsPluggedInAgain) {
  configure("block_mass_storage = yes\n");
  start();
  takeOut(plug(disk(), highSpeedSocket(1)));
  EXPECT_EQ(display.takeWrites(), Lines{blocked});
  reload("");
  const PluggedDevice device = plug(disk(), highSpeedSocket(1));
  genericWorkerOf(device);
}

}  // namespace
}  // namespace guest
