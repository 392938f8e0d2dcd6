// What comes out of the daemon's end of the display's fifo, and what does not matter to the daemon.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "sim/contract.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"

namespace {

using support::commandLine;
using support::writes;

constexpr const char* fifo = "/dev/osd_fifo";

class DisplayChannel : public support::DaemonFixture {
 protected:
  sim::Daemon& startWithStorage() { return start(commandLine({"--debug=ctrl", "--class=all"})); }

  /** Makes the daemon write one user message: every storage worker is announced at its start. */
  void attachDiskOf(const std::string& vendor) {
    sim::ScsiGenericNode node;
    node.name = "sg" + std::to_string(++disks_);
    node.usbDevice = unit.plug(support::disk("1-" + std::to_string(disks_)));
    node.vendor = vendor;
    node.model = "Disk";
    unit.plug(node);
    unit.settle();
  }

  static std::string textOf(const std::string& vendor) {
    return contract::display::attached(vendor + " Disk");
  }

 private:
  int disks_ = 0;
};

TEST_F(DisplayChannel, GetsEachMessageAsOneWriteThatEndsInOneNewline) {
  startWithStorage();
  const std::string longVendor(3000, 'v');

  for (const std::string& vendor : {std::string("First"), longVendor, std::string()}) {
    attachDiskOf(vendor);
  }

  EXPECT_EQ(unit.display.takeWrites(), writes({textOf("First"), textOf(longVendor), textOf("")}));
  EXPECT_TRUE(unit.display.keepsBoundaries());
}

TEST_F(DisplayChannel, GetsMessagesAlsoWhenTheLogGoesToSyslog) {
  start(commandLine({"--syslog"}, {"transmitter", "5000", "full"}));

  unit.plug(support::fastScanner());

  EXPECT_EQ(unit.display.waitForWrite(), contract::display::highSpeed("Fast Scanner") + "\n");
}

TEST_F(DisplayChannel, MayBeMissing) {
  unit.display.removeFifo();
  sim::Daemon& daemon = startWithStorage();

  attachDiskOf("First");

  EXPECT_TRUE(daemon.isRunning());
  EXPECT_FALSE(std::filesystem::exists(fifo));
  unit.workers.waitForWorker();
}

TEST_F(DisplayChannel, LosesAMessageWhenItIsFullAndGetsTheNext) {
  sim::Daemon& daemon = startWithStorage();

  unit.display.fill();
  attachDiskOf("First");
  unit.display.drain();
  attachDiskOf("Second");

  EXPECT_EQ(unit.display.takeWrites(), writes({textOf("Second")}));
  EXPECT_TRUE(daemon.isRunning());
}

TEST_F(DisplayChannel, LosesAMessageWhenItsReaderHasGoneAndGetsTheNext) {
  sim::Daemon& daemon = startWithStorage();

  unit.display.closeReader();
  attachDiskOf("First");
  unit.display.openReader();
  attachDiskOf("Second");

  EXPECT_EQ(unit.display.takeWrites(), writes({textOf("Second")}));
  EXPECT_TRUE(daemon.isRunning());
}

}  // namespace
