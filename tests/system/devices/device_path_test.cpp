// Which device an event means: the physical directory behind the path that it names.

#include <climits>
#include <string>

#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

using support::genericDevice;
using support::Lines;
using support::scanner;

namespace debug = contract::debug;

class DevicePath : public support::Hotplug {
 protected:
  /** What the daemon says of an "add" event with this path. */
  Lines saidOfPath(const std::string& devpath) { return saidOf(sim::uevent("add", devpath)); }
};

/** The same messages, but of an event that named the device by another path. */
Lines announcedAs(const std::string& devpath, Lines said) {
  said.front() = debug::tag + debug::event("add", devpath);
  return said;
}

TEST_F(DevicePath, OfTheBusIsResolved) {
  start();
  const std::string directory = unit.sysfs.add(scanner());
  EXPECT_EQ(saidOfPath("/bus/usb/devices/1-1"),
            announcedAs("/bus/usb/devices/1-1", genericDevice(directory)));
  EXPECT_EQ(unit.workers.waitForWorker().device(), directory);
}

TEST_F(DevicePath, OfAClassIsResolved) {
  start("scsi");
  const std::string node = unit.sysfs.add(sim::ScsiGenericNode{.usbDevice = unit.sysfs.add(support::disk())});
  EXPECT_EQ(
      saidOfPath("/class/scsi_generic/sg0"),
      announcedAs("/class/scsi_generic/sg0",
                  support::nodeOf("scsi_generic", node, {debug::scsiGeneric, debug::startingScsi(node)})));
  EXPECT_EQ(unit.workers.waitForWorker().device(), node);
}

TEST_F(DevicePath, OfLinksToLinksIsResolved) {
  start();
  const std::string directory = unit.sysfs.add(scanner());
  unit.sysfs.makeLink("/sys/first", "second");
  unit.sysfs.makeLink("/sys/second", "bus/usb");
  const std::string devpath = "/first/../usb/devices/./1-1//";
  EXPECT_EQ(saidOfPath(devpath), announcedAs(devpath, genericDevice(directory)));
}

TEST_F(DevicePath, LongerThanABufferIsResolvedWhole) {
  start();
  sim::UsbDevice device = scanner();
  for (int hub = 0; hub < 12; ++hub) {
    device.parent += "/" + std::string(100, 'h');
  }
  EXPECT_EQ(saidOfPlugging(device), genericDevice(device.directory()));
  EXPECT_EQ(unit.workers.waitForWorker().device(), device.directory());
}

class DevicePathOfAHandledDevice : public DevicePath, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(NamedBy, DevicePathOfAHandledDevice,
                         testing::Values("/devices/platform/usb-host.0/usb1/1-1", "/bus/usb/devices/1-1",
                                         "/devices/platform/../platform/usb-host.0/usb1/1-1/",
                                         "//devices/platform//usb-host.0/./usb1/1-1"));

TEST_P(DevicePathOfAHandledDevice, StartsNoSecondWorkerWhateverItsAttributesSay) {
  start("all");
  const std::string directory = unit.plug(scanner());
  const sim::Worker& worker = unit.workers.waitForWorker();
  const Lines handled = support::tagged({debug::event("add", GetParam()), debug::alreadyHandled});
  EXPECT_EQ(saidOfPath(GetParam()), handled);
  unit.sysfs.removeAttribute(directory, "subsystem");
  unit.sysfs.makeDirectory(directory + "/subsystem");
  EXPECT_EQ(saidOfPath(GetParam()), handled);
  EXPECT_EQ(unit.daemon().children(), std::vector<pid_t>{worker.start.pid});
}

TEST_F(DevicePath, OfADeviceBesideAHandledOneIsAnotherDevice) {
  start();
  for (const std::string port : {"1-1", "1-10", "1"}) {
    EXPECT_EQ(saidOfPlugging(scanner(port)), genericDevice(scanner(port).directory()));
  }
  EXPECT_EQ(unit.daemon().children().size(), 3U);
}

TEST_F(DevicePath, ThatLeadsToNoDirectoryEndsTheEvent) {
  start("all");
  unit.sysfs.makeLink("/sys/dangling", "devices/gone");
  unit.sysfs.makeLink("/sys/circle", "circle");
  const std::string file = support::devpathOf(unit.sysfs.add(scanner())) + "/uevent";
  const std::string longComponent = std::string("/").append(300, 'x');
  const std::string longPath = std::string(2 * PATH_MAX + 1, '/');
  for (const std::string& path :
       {std::string("/devices/gone"), std::string("/bus/usb/devices/9-9"), file, std::string("/dangling"),
        std::string("/circle"), longComponent, longPath}) {
    EXPECT_EQ(saidOfPath(path), support::ignoredEvent(path));
  }
}

TEST_F(DevicePath, BeginsBehindTheNameOfSysfsAsItStands) {
  start("all");
  EXPECT_EQ(saidOfPath("tem"), support::ignoredEvent("tem"));
  for (const std::string path : {"", "/"}) {
    EXPECT_EQ(saidOfPath(path), support::nodeOf("", "/sys" + path));
  }
}

}  // namespace
