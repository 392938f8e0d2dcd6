// Disks, where storage has workers of its own: they are handed the node of a disk, not the USB device.

#include "kernel/guest/receiver_unit.h"

namespace guest {
namespace {

// The kernel fills vendor (8 characters) and model (16) up with blanks.
const std::string attached = "QEMU     QEMU HARDDISK    attached\n";

class Storage : public ReceiverUnit {
 protected:
  static inline const Lines served{"--class=scsi"};
};

TEST_F(Storage, OfABulkOnlyDiskGetsAStorageWorkerForItsNode) {
  start(served);
  const PluggedDevice device = plug(disk(), highSpeedSocket(1));
  EXPECT_TRUE(daemon->hasLine("[rx_ctrl] this is a storage device"));
  const std::string node = storageNode();
  EXPECT_TRUE(node.starts_with(device.directory + "/"));
  EXPECT_TRUE(node.ends_with("/scsi_generic/sg0"));
  EXPECT_EQ(workerOf(node).start.arguments, storageWorker(node));
  EXPECT_EQ(workers.count(), 1U);
}

TEST_F(Storage, IsAnnouncedByVendorAndModel) {
  start(served);
  plug(disk(), highSpeedSocket(1));
  storageNode();
  EXPECT_EQ(display.waitForWrite(), attached);
}

TEST_F(Storage, IsFoundAtTheStart) {
  desk.plug(disk(), highSpeedSocket(1));
  const std::string node = desk.events.waitFor(storageNodeAdded).directory;
  start(served);
  EXPECT_EQ(workerOf(node).start.arguments, storageWorker(node));
  EXPECT_EQ(display.takeWrites(), Lines{attached});
  EXPECT_EQ(daemon->children().size(), 1U);
}

TEST_F(Storage, OfADeviceWithTwoDisksGetsTwoStorageWorkers) {
  start(served);
  plug(twoDisks(), highSpeedSocket(1));
  const std::string first = storageNode();
  const std::string second = storageNode();
  EXPECT_NE(first, second);
  EXPECT_EQ(workerOf(first).start.arguments, storageWorker(first));
  EXPECT_EQ(workerOf(second).start.arguments, storageWorker(second));
  EXPECT_EQ(workers.count(), 2U);
}

TEST_F(Storage, OfAFullSpeedDiskIsServedAlike) {
  start(served);
  plug(disk(), fullSpeedSocket(1));
  const std::string node = storageNode();
  EXPECT_EQ(workerOf(node).start.arguments, storageWorker(node));
}

// The device is no bulk-only one, so it is left to the generic worker; its disk has a node as any other.
TEST_F(Storage, OfAUasDiskGetsAGenericWorkerAndAStorageWorker) {
  start(served);
  const PluggedDevice device = plug(uasDisk(), highSpeedSocket(1));
  const std::string node = storageNode();
  EXPECT_EQ(workers.waitForWorkerOf(device.directory).start.arguments, genericWorker(device.directory));
  EXPECT_EQ(workers.waitForWorkerOf(node).start.arguments, storageWorker(node));
  EXPECT_EQ(display.takeWrites(), Lines{attached});
}

TEST_F(Storage, IsServedEvenWhereMassStorageIsBlocked) {
  configure("block_mass_storage = yes\n");
  start(served);
  plug(disk(), highSpeedSocket(1));
  const std::string node = storageNode();
  EXPECT_EQ(workerOf(node).start.arguments, storageWorker(node));
  EXPECT_EQ(display.takeWrites(), Lines{attached});
}

TEST_F(Storage, IsLeftToTheGenericWorkerWhereItIsNotServed) {
  start({"--class=keyboard"});
  const PluggedDevice device = plug(disk(), highSpeedSocket(1));
  storageNode();
  EXPECT_EQ(workerOf(device.directory).start.arguments, genericWorker(device.directory));
  EXPECT_EQ(workers.count(), 1U);
}

TEST_F(Storage, ThatIsTakenOutHasGoneForItsWorker) {
  start(served);
  const PluggedDevice device = plug(disk(), highSpeedSocket(1));
  const std::string node = storageNode();
  sim::Worker& worker = workerOf(node);
  takeOut(device);
  worker.exitWith(0);
  daemon->waitForLine("device " + node + " has gone");
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Storage, WhoseWorkerEndsIsServedAnew) {
  start(served);
  plug(disk(), highSpeedSocket(1));
  const std::string node = storageNode();
  workerOf(node).exitWith(1);
  EXPECT_EQ(workerOf(node).start.arguments, storageWorker(node));
  EXPECT_EQ(display.waitForWrite(), attached);
  EXPECT_EQ(display.waitForWrite(), attached);
}

}  // namespace
}  // namespace guest
