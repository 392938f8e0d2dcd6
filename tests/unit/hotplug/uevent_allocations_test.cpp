// Most uevents are of no interest. They take no memory that the daemon does not need to find that out.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "hotplug/uevent_handler.h"
#include "sim/sysfs.h"
#include "sim/uevent.h"
#include "sim/uevent_sender.h"
#include "support/private_world.h"
#include "support/test_ctrl.h"
#include "unit/allocations.h"

namespace {

class UeventAllocations : public support::PrivateWorld {
 protected:
  /** While the daemon receives and handles such a datagram; not the first one, which makes room. */
  long allocationsOf(const std::string& datagram) {
    receiveAndHandle(datagram);
    sender_.send(datagram);
    const long before = allocationsSoFar();
    handleUEvent(*ctrl_, ctrl_->uevents->readUEvent(), ctrl_->speed);
    return allocationsSoFar() - before;
  }

  /** As the kernel announces a USB device, in as many words. */
  static std::string datagram(const std::string& action, const std::string& devpath) {
    return sim::uevent(action, devpath,
                       {{"SUBSYSTEM", "usb"},
                        {"MAJOR", "189"},
                        {"MINOR", "128"},
                        {"DEVNAME", "bus/usb/002/001"},
                        {"DEVTYPE", "usb_device"},
                        {"PRODUCT", "1d6b/3/601"},
                        {"TYPE", "9/0/3"},
                        {"BUSNUM", "002"},
                        {"DEVNUM", "001"}});
  }

 private:
  void receiveAndHandle(const std::string& datagram) {
    sender_.send(datagram);
    handleUEvent(*ctrl_, ctrl_->uevents->readUEvent(), ctrl_->speed);
  }

  support::TestCtrl ctrl_;
  sim::UeventSender sender_;
};

TEST_F(UeventAllocations, AreNoneForOtherActions) {
  for (const std::string action : {"change", "remove", "bind", "unbind", "move", "offline"}) {
    EXPECT_EQ(allocationsOf(datagram(action, "/devices/pci0000:00/0000:00:14.0/usb2/2-1")), 0) << action;
  }
}

TEST_F(UeventAllocations, AreNoneForRepetitions) {
  EXPECT_EQ(allocationsOf(std::string("libudev\0ACTION=add\0", 19)), 0);
}

TEST_F(UeventAllocations, AreTheWayToTheDeviceItsPathAndItsLinkForOtherSubsystems) {
  sim::Sysfs sysfs;
  const std::string node = "/devices/platform/serial8250/tty/ttyS0";
  std::filesystem::current_path("/");  // as a daemon's: the way back takes no memory
  sysfs.makeDirectory("/sys" + node);
  sysfs.makeLink("/sys" + node + "/subsystem", "../../../../../class/tty");
  EXPECT_EQ(allocationsOf(datagram("add", node)), 3);
}

}  // namespace
