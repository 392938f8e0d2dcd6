// The kernel may announce a device before its attributes are there: the daemon waits for them.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "system/support/attached_devices.h"
#include "system/support/held_attribute.h"
#include "system/support/hotplug.h"
#include "system/support/system_call_trace.h"

namespace {

const std::string completeUevent = *sim::UsbDevice().uevent;

/** The times before lines on standard error are rounded to milliseconds. */
constexpr double roundingOfTimes = 0.001;

/** By the times before two lines on standard error, which begin anew after 100 seconds. */
double secondsBetween(const std::string& earlier, const std::string& later) {
  const double difference = std::stod(later) - std::stod(earlier);
  return difference < 0 ? difference + 100 : difference;
}

class LateAttributes : public Hotplug {
 protected:
  /** Announces what there is of the device, and lets it become complete when the daemon has looked in vain.
   */
  Messages saidOfCompleting(const sim::UsbDevice& incomplete, const std::function<void()>& complete) {
    return during([&] {
      SystemCallTrace trace(unit.daemon().pid());
      unit.plug(incomplete);
      trace.runToSleep();
      trace.runToSleep();
      complete();
    });
  }
};

class AwaitedAttributes : public LateAttributes {
 protected:
  void SetUp() override {
    if (const auto obstacle = SystemCallTrace::obstacle()) {
      GTEST_SKIP() << *obstacle;
    }
    start();
  }
};

TEST_F(AwaitedAttributes, MayBeTheUeventFile) {
  sim::UsbDevice device = scanner();
  device.uevent.reset();
  EXPECT_EQ(saidOfCompleting(
                device, [&] { unit.sysfs.writeAttribute(device.directory(), "uevent", completeUevent); }),
            genericDevice(device.directory()));
}

TEST_F(AwaitedAttributes, MayBeTheDeviceClass) {
  sim::UsbDevice device = scanner();
  device.deviceClass.reset();
  EXPECT_EQ(saidOfCompleting(device,
                             [&] { unit.sysfs.writeAttribute(device.directory(), "bDeviceClass", "09\n"); }),
            usbDevice(device.directory(), {kind::hub}));
}

TEST_F(AwaitedAttributes, MayBeTheDeviceClassAfterTheUeventFile) {
  sim::UsbDevice device = scanner();
  device.uevent.reset();
  device.deviceClass.reset();
  const Messages said = during([&] {
    SystemCallTrace trace(unit.daemon().pid());
    unit.plug(device);
    trace.runToSleep();
    unit.sysfs.writeAttribute(device.directory(), "uevent", completeUevent);
    trace.runToSleep();
    unit.sysfs.writeAttribute(device.directory(), "bDeviceClass", "00\n");
  });
  EXPECT_EQ(said, genericDevice(device.directory()));
}

TEST_F(AwaitedAttributes, ShowAnInterfaceWhenTheyCome) {
  sim::UsbDevice device = scanner();
  device.uevent.reset();
  EXPECT_EQ(saidOfCompleting(
                device,
                [&] { unit.sysfs.writeAttribute(device.directory(), "uevent", "DEVTYPE=usb_interface\n"); }),
            usbDevice(device.directory(), {}));
}

TEST_F(AwaitedAttributes, DoNotComeBackWhenTheDeviceHasGone) {
  sim::UsbDevice device = scanner();
  device.deviceClass.reset();
  const Messages said = during([&] {
    SystemCallTrace trace(unit.daemon().pid());
    unit.plug(device);
    trace.runToSleep();
    unit.unplug(device.directory());
  });
  EXPECT_EQ(said,
            usbDevice(device.directory(), {kind::undetermined, "remove " + devpathOf(device.directory())}));
}

TEST_F(AwaitedAttributes, AreLookedForTwentyTimesASecond) {
  SystemCallTrace trace(unit.daemon().pid());
  sim::UsbDevice device = scanner();
  device.uevent.reset();
  unit.plug(device);
  for (int look = 0; look < 3; ++look) {
    EXPECT_DOUBLE_EQ(trace.runToSleep(), 0.05);
  }
  unit.sysfs.writeAttribute(device.directory(), "uevent", "");
}

// However slow the unit is, three seconds have passed after sixty sleeps (and one for a clock that is
// adjusted).
TEST_F(AwaitedAttributes, AreNotAwaitedForMoreThanThreeSecondsOfSleep) {
  constexpr int sleepsOfThreeSeconds = 60;
  SystemCallTrace trace(unit.daemon().pid());
  sim::UsbDevice device = scanner();
  device.deviceClass.reset();
  unit.plug(device);
  trace.runToSleep();
  int sleeps = 1;
  for (SystemCall call = trace.next(); !SystemCallTrace::isWait(call); call = trace.next()) {
    sleeps += trace.sleepOf(call) ? 1 : 0;
  }
  EXPECT_LE(sleeps, sleepsOfThreeSeconds + 1);
}

TEST_F(LateAttributes, AreAwaitedForThreeSeconds) {
  start("all");
  sim::UsbDevice device = scanner();
  device.deviceClass.reset();
  unit.plug(device);
  unit.daemon().waitForLine("subsystem is 'usb'");
  const std::string begin = unit.daemon().lines().back();
  const sim::Deadline tooLate(4);
  EXPECT_EQ(unit.daemon().waitForLine("timed out"), "[rx_ctrl] " + std::string(kind::undetermined));
  EXPECT_FALSE(tooLate.passed());
  EXPECT_GE(secondsBetween(begin, unit.daemon().lines().back()), 3.0 - roundingOfTimes);
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_F(LateAttributes, AreNotAwaitedForAnInterface) {
  start("all");
  const std::string interface = unit.sysfs.add(scanner()) + "/1-1:1.0";
  unit.sysfs.linkTo("/sys/bus/usb", interface + "/subsystem");
  HeldAttribute uevent(interface + "/uevent");
  const Messages said = during([&] {
    unit.uevents.add(devpathOf(interface));
    uevent.waitForReader();
    // A second look would find a file that nobody writes, and not come back.
    uevent.release("DEVTYPE=usb_interface\n");
  });
  EXPECT_EQ(said, usbDevice(interface, {}));
}

TEST_F(LateAttributes, AreNotAwaitedForAnEndpoint) {
  start("all");
  const std::string endpoint = unit.sysfs.add(scanner()) + "/ep_00";
  unit.sysfs.writeAttribute(endpoint, "uevent", "");
  EXPECT_EQ(saidOfAdding(endpoint), rxCtrl({"add " + devpathOf(endpoint), "subsystem is ''"}));
  unit.sysfs.linkTo("/sys/bus/usb", endpoint + "/subsystem");
  EXPECT_EQ(saidOfAdding(endpoint), usbDevice(endpoint, {}));
}

TEST_F(LateAttributes, MayHaveTheDeviceTypeAnywhereInTheUeventFile) {
  start();
  sim::UsbDevice device = scanner();
  device.uevent = "DEVTYPE=usb_device";
  EXPECT_EQ(kindOf(device), kind::generic);
  device.name = "1-2";
  device.uevent = "A=\nDEVTYPE=usb_device\nB=\n";
  EXPECT_EQ(kindOf(device), kind::generic);
  device.name = "1-3";
  device.uevent = std::string(20000, 'x') + "\nDEVTYPE=usb_device\n";
  EXPECT_EQ(kindOf(device), kind::generic);
}

TEST_F(LateAttributes, AreNotAwaitedWithoutTheExactDeviceType) {
  start("all");
  sim::UsbDevice device = scanner();
  for (const std::string uevent :
       {"", "\n", "DEVTYPE=usb_devic", "DEVTYPE=USB_DEVICE\n", "DEVTYPE= usb_device\n", "usb_device\n"}) {
    device.uevent = uevent;
    EXPECT_EQ(saidOfPlugging(device), usbDevice(device.directory(), {}));
  }
}

}  // namespace
