// Disks, where storage has workers of its own: they are handed the node of a disk, not the USB device.

#include "kernel/guest/receiver_unit.h"

namespace guest {
namespace {

// The kernel fills vendor (8 characters) and model (16) up with blanks.
const std::string diskAttached = contract::display::attached("QEMU     QEMU HARDDISK   ") + "\n";

class Storage : public ReceiverUnit {
 protected:
  static inline const Lines served{"--class=scsi"};

  /** The node of a disk that is plugged in where storage has workers. */
  std::string startWithDisk(const Socket& socket = highSpeedSocket(1)) {
    start(served);
    plug(disk(), socket);
    return storageNode();
  }
};

TEST_F(Storage, OfABulkOnlyDiskGetsAStorageWorkerForItsNode) {
  start(served);
  const PluggedDevice device = plug(disk(), highSpeedSocket(1));
  EXPECT_TRUE(hasMessage(contract::debug::storage));
  const std::string node = storageNode();
  EXPECT_TRUE(node.starts_with(device.directory + "/"));
  EXPECT_TRUE(node.ends_with("/scsi_generic/sg0"));
  storageWorkerOf(node);
  EXPECT_EQ(workers.count(), 1U);
}

TEST_F(Storage, IsAnnouncedByVendorAndModel) {
  startWithDisk();
  EXPECT_EQ(display.waitForWrite(), diskAttached);
}

TEST_F(Storage, IsFoundAtTheStart) {
  desk.plug(disk(), highSpeedSocket(1));
  const std::string node = desk.events.waitFor(storageNodeAdded).directory;
  start(served);
  storageWorkerOf(node);
  EXPECT_EQ(display.takeWrites(), Lines{diskAttached});
  EXPECT_EQ(daemon->children().size(), 1U);
}

TEST_F(Storage, OfADeviceWithTwoDisksGetsTwoStorageWorkers) {
  start(served);
  plug(twoDisks(), highSpeedSocket(1));
  const std::string first = storageNode();
  const std::string second = storageNode();
  EXPECT_NE(first, second);
  storageWorkerOf(first);
  storageWorkerOf(second);
  EXPECT_EQ(workers.count(), 2U);
}

TEST_F(Storage, OfAFullSpeedDiskIsServedAlike) {
  storageWorkerOf(startWithDisk(fullSpeedSocket(1)));
}

// The device is no bulk-only one, so it is left to the generic worker; its disk has a node as any other.
TEST_F(Storage, OfAUasDiskGetsAGenericWorkerAndAStorageWorker) {
  start(served);
  const PluggedDevice device = plug(uasDisk(), highSpeedSocket(1));
  const std::string node = storageNode();
  expectGenericAndStorageWorker(device, node);
  EXPECT_EQ(display.takeWrites(), Lines{diskAttached});
}

TEST_F(Storage, IsServedEvenWhereMassStorageIsBlocked) {
  configure("block_mass_storage = yes\n");
  storageWorkerOf(startWithDisk());
  EXPECT_EQ(display.takeWrites(), Lines{diskAttached});
}

TEST_F(Storage, IsLeftToTheGenericWorkerWhereItIsNotServed) {
  start({"--class=keyboard"});
  const PluggedDevice device = plug(disk(), highSpeedSocket(1));
  storageNode();
  genericWorkerOf(device);
  EXPECT_EQ(workers.count(), 1U);
}

TEST_F(Storage, ThatIsTakenOutHasGoneForItsWorker) {
  start(served);
  const PluggedDevice device = plug(disk(), highSpeedSocket(1));
  const std::string node = storageNode();
  sim::Worker& worker = storageWorkerOf(node);
  takeOut(device);
  worker.exitWith(0);
  daemon->waitForLine(contract::debug::gone(node));
  EXPECT_TRUE(daemon->children().empty());
}

TEST_F(Storage, WhoseWorkerEndsIsServedAnew) {
  const std::string node = startWithDisk();
  storageWorkerOf(node).exitWith(1);
  storageWorkerOf(node);
  EXPECT_EQ(display.waitForWrite(), diskAttached);
  EXPECT_EQ(display.waitForWrite(), diskAttached);
}

}  // namespace
}  // namespace guest
