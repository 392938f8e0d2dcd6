// Which device an event means: the physical directory behind whatever path it names.

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

constexpr const char* alreadyHandled = "a subprocess is already handling this device";

class DevicePath : public Hotplug {
 protected:
  /** What the daemon says of an "add" event with this path. */
  Messages saidOfPath(const std::string& devpath) { return saidOf(sim::uevent("add", devpath)); }

  static Messages ignoredPath(const std::string& devpath) { return rxCtrl({"add " + devpath, eventIgnored}); }
};

TEST_F(DevicePath, OfTheBusIsResolved) {
  start();
  const std::string directory = unit.sysfs.add(scanner());
  Messages expected = genericDevice(directory);
  expected.front() = "[rx_ctrl] add /bus/usb/devices/1-1";
  EXPECT_EQ(saidOfPath("/bus/usb/devices/1-1"), expected);
  EXPECT_EQ(unit.workers.waitForWorker().device(), directory);
}

TEST_F(DevicePath, OfAClassIsResolved) {
  start("scsi");
  const std::string node = unit.sysfs.add(sim::ScsiGenericNode{.usbDevice = unit.sysfs.add(disk())});
  EXPECT_EQ(saidOfPath("/class/scsi_generic/sg0"),
            rxCtrl({"add /class/scsi_generic/sg0", "subsystem is 'scsi_generic'", kind::scsiGeneric,
                    "starting usb_rx_scsi for " + node}));
  EXPECT_EQ(unit.workers.waitForWorker().device(), node);
}

TEST_F(DevicePath, OfLinksToLinksIsResolved) {
  start();
  const std::string directory = unit.sysfs.add(scanner());
  unit.sysfs.makeLink("/sys/first", "second");
  unit.sysfs.makeLink("/sys/second", "bus/usb");
  Messages expected = genericDevice(directory);
  expected.front() = "[rx_ctrl] add /first/../usb/devices/./1-1//";
  EXPECT_EQ(saidOfPath("/first/../usb/devices/./1-1//"), expected);
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

class HandledDevice : public DevicePath, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(NamedBy, HandledDevice,
                         testing::Values("/devices/platform/usb-host.0/usb1/1-1", "/bus/usb/devices/1-1",
                                         "/devices/platform/../platform/usb-host.0/usb1/1-1/",
                                         "//devices/platform//usb-host.0/./usb1/1-1"));

TEST_P(HandledDevice, GetsNoSecondWorker) {
  start("all");
  unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();
  EXPECT_EQ(saidOfPath(GetParam()), rxCtrl({"add " + GetParam(), alreadyHandled}));
  EXPECT_EQ(unit.daemon().children(), std::vector<pid_t>{worker.start.pid});
}

TEST_P(HandledDevice, GetsNoSecondWorkerWhateverItsAttributesSay) {
  start("all");
  const std::string directory = unit.plug(scanner());
  unit.workers.waitForWorker();
  unit.sysfs.removeAttribute(directory, "subsystem");
  unit.sysfs.makeDirectory(directory + "/subsystem");
  EXPECT_EQ(saidOfPath(GetParam()), rxCtrl({"add " + GetParam(), alreadyHandled}));
}

TEST_F(DevicePath, OfADeviceBesideAHandledOneIsAnotherDevice) {
  start();
  EXPECT_EQ(saidOfPlugging(scanner("1-1")), genericDevice(scanner("1-1").directory()));
  EXPECT_EQ(saidOfPlugging(scanner("1-10")), genericDevice(scanner("1-10").directory()));
  EXPECT_EQ(saidOfPlugging(scanner("1")), genericDevice(scanner("1").directory()));
  EXPECT_EQ(unit.daemon().children().size(), 3U);
}

TEST_F(DevicePath, ThatIsMissingEndsTheEvent) {
  start("all");
  EXPECT_EQ(saidOfPath("/devices/gone"), ignoredPath("/devices/gone"));
  EXPECT_EQ(saidOfPath("/bus/usb/devices/9-9"), ignoredPath("/bus/usb/devices/9-9"));
}

TEST_F(DevicePath, ThatIsAFileEndsTheEvent) {
  start("all");
  const std::string file = devpathOf(unit.sysfs.add(scanner())) + "/uevent";
  EXPECT_EQ(saidOfPath(file), ignoredPath(file));
}

TEST_F(DevicePath, OfADanglingLinkOrACircleOfLinksEndsTheEvent) {
  start("all");
  unit.sysfs.makeLink("/sys/dangling", "devices/gone");
  unit.sysfs.makeLink("/sys/circle", "circle");
  EXPECT_EQ(saidOfPath("/dangling"), ignoredPath("/dangling"));
  EXPECT_EQ(saidOfPath("/circle"), ignoredPath("/circle"));
}

TEST_F(DevicePath, TooLongForTheSystemEndsTheEvent) {
  start("all");
  const std::string component = "/" + std::string(300, 'x');
  const std::string whole = "/" + std::string(2 * PATH_MAX, '/');
  EXPECT_EQ(saidOfPath(component), ignoredPath(component));
  EXPECT_EQ(saidOfPath(whole), ignoredPath(whole));
}

TEST_F(DevicePath, BeginsBehindTheNameOfSysfsAsItStands) {
  start("all");
  EXPECT_EQ(saidOfPath("tem"), ignoredPath("tem"));
  EXPECT_EQ(saidOfPath(""), rxCtrl({"add ", "subsystem is ''"}));
  EXPECT_EQ(saidOfPath("/"), rxCtrl({"add /", "subsystem is ''"}));
}

}  // namespace
