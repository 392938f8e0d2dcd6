// What comes out of the daemon's end of the display's fifo, and what does not matter to the daemon.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "sim/files.h"
#include "sim/unit.h"
#include "system/support/attached_devices.h"
#include "system/support/process_state.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* fifo = "/dev/osd_fifo";

/** Makes the daemon write one user message: every storage worker is announced at its start. */
void attachDisk(sim::Unit& unit, const std::string& name, const std::string& vendor) {
  sim::ScsiGenericNode node;
  node.usbDevice = unit.plug(disk(name));
  node.name = "sg" + name.substr(name.find('-') + 1);
  node.vendor = vendor;
  node.model = "Disk";
  unit.plug(node);
  unit.settle();
}

sim::Daemon& startWithStorage(sim::Unit& unit) {
  sim::Daemon& daemon = unit.startDaemon({"--debug=ctrl", "--class=all", "transmitter", "5000", "high"});
  unit.waitUntilServing();
  return daemon;
}

bool hasOpen(const sim::Daemon& daemon, const std::string& path) {
  for (const int number : daemon.openDescriptors()) {
    if (targetOf(daemon.pid(), number) == path) {
      return true;
    }
  }
  return false;
}

TEST(DisplayChannel, GetsEachMessageAsOneWriteThatEndsInOneNewline) {
  sim::Unit unit;
  startWithStorage(unit);

  attachDisk(unit, "1-1", "First");
  attachDisk(unit, "1-2", "Second");
  attachDisk(unit, "1-3", "");

  EXPECT_EQ(
      unit.display.takeWrites(),
      (std::vector<std::string>{"First Disk attached\n", "Second Disk attached\n", " Disk attached\n"}));
  EXPECT_TRUE(unit.display.keepsBoundaries());
}

TEST(DisplayChannel, GetsALongMessageAsOneWrite) {
  sim::Unit unit;
  startWithStorage(unit);
  const std::string vendor(3000, 'v');

  attachDisk(unit, "1-1", vendor);

  EXPECT_EQ(unit.display.waitForWrite(), vendor + " Disk attached\n");
  EXPECT_TRUE(unit.display.keepsBoundaries());
}

TEST(DisplayChannel, GetsMessagesAlsoWhenTheLogGoesToSyslog) {
  sim::Unit unit;
  unit.startDaemon({"--syslog", "transmitter", "5000", "full"});
  unit.waitUntilServing();

  unit.plug(fastScanner());

  EXPECT_EQ(unit.display.waitForWrite(),
            "High speed Fast Scanner is not supported on a full speed only port\n");
}

TEST(DisplayChannel, IsOpenedAtTheStart) {
  sim::Unit unit;

  EXPECT_TRUE(hasOpen(startWithStorage(unit), fifo));
}

TEST(DisplayChannel, MayBeMissing) {
  sim::Unit unit;
  unit.display.removeFifo();
  sim::Daemon& daemon = startWithStorage(unit);

  attachDisk(unit, "1-1", "First");

  EXPECT_TRUE(daemon.isRunning());
  EXPECT_FALSE(fs::exists(fifo));
  EXPECT_TRUE(daemon.hasLine("[rx_ctrl] starting usb_rx_scsi for "));
}

TEST(DisplayChannel, IsNotUsedWhenItIsMadeAfterTheStart) {
  sim::Unit unit;
  unit.display.removeFifo();
  sim::Daemon& daemon = startWithStorage(unit);
  unit.display.makeFifo();
  unit.display.openReader();

  attachDisk(unit, "1-1", "First");

  EXPECT_TRUE(unit.display.takeWrites().empty());
  EXPECT_FALSE(hasOpen(daemon, fifo));
}

TEST(DisplayChannel, IsNotUsedWhenNobodyReadsItAtTheStart) {
  sim::Unit unit;
  unit.display.closeReader();
  sim::Daemon& daemon = startWithStorage(unit);
  unit.display.openReader();

  attachDisk(unit, "1-1", "First");

  EXPECT_TRUE(unit.display.takeWrites().empty());
  EXPECT_FALSE(hasOpen(daemon, fifo));
}

TEST(DisplayChannel, MayBeADirectory) {
  sim::Unit unit;
  unit.display.removeFifo();
  fs::create_directory(fifo);
  sim::Daemon& daemon = startWithStorage(unit);

  attachDisk(unit, "1-1", "First");

  EXPECT_TRUE(daemon.isRunning());
}

TEST(DisplayChannel, MayBeAFile) {
  sim::Unit unit;
  unit.display.removeFifo();
  sim::writeFile(fifo, "");
  startWithStorage(unit);

  attachDisk(unit, "1-1", "First");
  attachDisk(unit, "1-2", "Second");

  EXPECT_EQ(sim::readFile(fifo), "First Disk attached\nSecond Disk attached\n");
}

TEST(DisplayChannel, LosesAMessageWhenItIsFullAndGetsTheNext) {
  sim::Unit unit;
  sim::Daemon& daemon = startWithStorage(unit);

  unit.display.fill();
  attachDisk(unit, "1-1", "First");
  unit.display.drain();
  attachDisk(unit, "1-2", "Second");

  EXPECT_EQ(unit.display.takeWrites(), (std::vector<std::string>{"Second Disk attached\n"}));
  EXPECT_TRUE(daemon.isRunning());
}

TEST(DisplayChannel, LosesAMessageWhenItsReaderHasGoneAndGetsTheNext) {
  sim::Unit unit;
  sim::Daemon& daemon = startWithStorage(unit);

  unit.display.closeReader();
  attachDisk(unit, "1-1", "First");
  unit.display.openReader();
  attachDisk(unit, "1-2", "Second");

  EXPECT_EQ(unit.display.takeWrites(), (std::vector<std::string>{"Second Disk attached\n"}));
  EXPECT_TRUE(daemon.isRunning());
}

TEST(DisplayChannel, IsNotOpenedAnewWhenAnotherFifoTakesItsPlace) {
  sim::Unit unit;
  sim::Daemon& daemon = startWithStorage(unit);
  unit.display.removeFifo();
  unit.display.makeFifo();
  unit.display.openReader();

  attachDisk(unit, "1-1", "First");

  EXPECT_TRUE(unit.display.takeWrites().empty());
  EXPECT_FALSE(hasOpen(daemon, fifo));
}

}  // namespace
