#include "tools/explain/worker_lines.h"

#include <gtest/gtest.h>

#include "ctrl/configuration_keys.h"
#include "ctrl/settings.h"
#include "hotplug/sysfs.h"
#include "sim/files.h"
#include "sim/sysfs.h"
#include "support/private_world.h"
#include "support/restored_settings.h"
#include "unit/tools/explain/described_device.h"

namespace {

class WorkerLines : public support::PrivateWorld {
 protected:
  support::RestoredSettings restored_;
  explain::Circumstances circumstances_ = circumstancesWith(0);

  void know(const std::string& hostname, std::uint16_t port) {
    circumstances_.isTransmitterKnown = true;
    circumstances_.link = {.interface = "eth1", .hostname = hostname, .port = port};
  }

  [[nodiscard]] WorkerArguments keyboard() const {
    sim::Sysfs sysfs;
    const std::string node =
        sysfs.add(sim::HiddevNode{.usbDevice = sysfs.add(sim::UsbDevice{}), .dev = "180:7"});
    return keyboardWorker(circumstances_, SysfsDevice(node));
  }
};

TEST_F(WorkerLines, ShowWhatIsNotKnownOfTheTransmitter) {
  EXPECT_EQ(genericWorker(circumstances_, "/sys/d"),
            (WorkerArguments{"usb_rx_generic", "eth1", "<hostname>", "<port>", "/sys/d"}));
  EXPECT_EQ(keyboard(), (WorkerArguments{"usb_rx_keyboard", "eth1", "<hostname>", "<port>+1", "180", "7"}));
  EXPECT_EQ(scsiWorker(circumstances_, "/sys/sg0"),
            (WorkerArguments{"usb_rx_scsi", "eth1", "<hostname>", "<port>+2", "/sys/sg0"}));
}

TEST_F(WorkerLines, HaveTheTransmittersPorts) {
  know("unit", 7000);
  EXPECT_EQ(genericWorker(circumstances_, "/sys/d"),
            (WorkerArguments{"usb_rx_generic", "eth1", "unit", "7000", "/sys/d"}));
  EXPECT_EQ(keyboard(), (WorkerArguments{"usb_rx_keyboard", "eth1", "unit", "7001", "180", "7"}));
  EXPECT_EQ(scsiWorker(circumstances_, "/sys/sg0"),
            (WorkerArguments{"usb_rx_scsi", "eth1", "unit", "7002", "/sys/sg0"}));
}

TEST_F(WorkerLines, HaveTheConfiguredProgramAndLog) {
  sim::writeFile(configurationPath, "[apps]\nquor_usb_rx_generic = /opt/generic\n");
  settings.debugGeneric = true;
  settings.logToSyslog = true;
  EXPECT_EQ(
      genericWorker(circumstances_, "/sys/d"),
      (WorkerArguments{"/opt/generic", "--debug", "--syslog", "eth1", "<hostname>", "<port>", "/sys/d"}));
  EXPECT_EQ(scsiWorker(circumstances_, "/sys/sg0").size(), 5U);
}

TEST_F(WorkerLines, AreReadByAShellAsTheyAre) {
  EXPECT_EQ(explain::shellLine({"usb_rx_generic", "", "eth 1", "it's", "$HOME", "/sys/devices/1-1.2:1.0"}),
            "usb_rx_generic '' 'eth 1' 'it'\\''s' '$HOME' /sys/devices/1-1.2:1.0");
}

TEST_F(WorkerLines, HavePlaceholdersWithoutQuotes) {
  EXPECT_EQ(explain::shellLine({"<hostname>", "<port>+2", "<device directory>", "<other>"}),
            "<hostname> <port>+2 <device directory> '<other>'");
}

}  // namespace
