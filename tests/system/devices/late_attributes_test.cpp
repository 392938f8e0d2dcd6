// The kernel may announce a device before its attributes are there: the daemon waits for them.

#include <functional>
#include <string>

#include "support/held_attribute.h"
#include "support/system_call_trace.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

using support::Lines;
using support::scanner;
using support::SystemCallTrace;
using support::usbDevice;

namespace debug = contract::debug;

const std::string directory = scanner().directory();
const std::string completeUevent = *scanner().uevent;

/** The times before lines on standard error are rounded to milliseconds. */
constexpr double roundingOfTimes = 0.001;

/** By the times before two lines on standard error, which begin anew after 100 seconds. */
double secondsBetween(const std::string& earlier, const std::string& later) {
  const double difference = std::stod(later) - std::stod(earlier);
  return difference < 0 ? difference + 100 : difference;
}

sim::UsbDevice withoutUevent() {
  sim::UsbDevice device = scanner();
  device.uevent.reset();
  return device;
}

sim::UsbDevice withoutClass() {
  sim::UsbDevice device = scanner();
  device.deviceClass.reset();
  return device;
}

class LateAttributes : public support::Hotplug {};

/** A daemon that is traced, to see it wait. */
class LateAttributesAwaited : public LateAttributes {
 protected:
  void SetUp() override {
    if (const auto obstacle = SystemCallTrace::obstacle()) {
      GTEST_SKIP() << *obstacle;
    }
    start();
  }

  /** Announces the device, and lets its attributes come when the daemon has looked in vain. */
  Lines saidOfCompleting(const sim::UsbDevice& incomplete,
                         const std::function<void(SystemCallTrace& trace)>& complete) {
    return during([&] {
      SystemCallTrace trace(unit.daemon().pid());
      unit.plug(incomplete);
      trace.runToSleep();
      trace.runToSleep();
      complete(trace);
    });
  }
  /** The same for one attribute. */
  Lines saidOfLate(const sim::UsbDevice& incomplete, const std::string& name, const std::string& content) {
    return saidOfCompleting(
        incomplete, [&](SystemCallTrace& /*trace*/) { unit.sysfs.writeAttribute(directory, name, content); });
  }
};

TEST_F(LateAttributesAwaited, MayBeTheUeventFile) {
  EXPECT_EQ(saidOfLate(withoutUevent(), "uevent", completeUevent), support::genericDevice(directory));
}

TEST_F(LateAttributesAwaited, MayBeTheDeviceClass) {
  EXPECT_EQ(saidOfLate(withoutClass(), "bDeviceClass", "09\n"), usbDevice(directory, {debug::hub}));
}

TEST_F(LateAttributesAwaited, ShowAnInterfaceWhenTheyCome) {
  EXPECT_EQ(saidOfLate(withoutUevent(), "uevent", "DEVTYPE=usb_interface\n"), usbDevice(directory, {}));
}

TEST_F(LateAttributesAwaited, MayBeTheDeviceClassAfterTheUeventFile) {
  sim::UsbDevice device = withoutUevent();
  device.deviceClass.reset();
  EXPECT_EQ(saidOfCompleting(device,
                             [&](SystemCallTrace& trace) {
                               unit.sysfs.writeAttribute(directory, "uevent", completeUevent);
                               trace.runToSleep();
                               unit.sysfs.writeAttribute(directory, "bDeviceClass", "00\n");
                             }),
            support::genericDevice(directory));
}

TEST_F(LateAttributesAwaited, DoNotComeBackWhenTheDeviceHasGone) {
  EXPECT_EQ(
      saidOfCompleting(withoutClass(), [&](SystemCallTrace& /*trace*/) { unit.unplug(directory); }),
      usbDevice(directory, {debug::undetermined, debug::event("remove", support::devpathOf(directory))}));
}

TEST_F(LateAttributesAwaited, AreLookedForTwentyTimesASecond) {
  SystemCallTrace trace(unit.daemon().pid());
  unit.plug(withoutUevent());
  for (int look = 0; look < 3; ++look) {
    EXPECT_DOUBLE_EQ(trace.runToSleep(), 0.05);
  }
  unit.sysfs.writeAttribute(directory, "uevent", "");
}

// However slow the unit is, three seconds have passed after sixty sleeps (and one for a clock that is
// adjusted).
TEST_F(LateAttributesAwaited, AreNotAwaitedForMoreThanThreeSecondsOfSleep) {
  constexpr int sleepsOfThreeSeconds = 60;
  SystemCallTrace trace(unit.daemon().pid());
  unit.plug(withoutClass());
  trace.runToSleep();
  int sleeps = 1;
  for (support::SystemCall call = trace.next(); !SystemCallTrace::isWait(call); call = trace.next()) {
    sleeps += trace.sleepOf(call) ? 1 : 0;
  }
  EXPECT_LE(sleeps, sleepsOfThreeSeconds + 1);
}

TEST_F(LateAttributes, AreAwaitedForThreeSeconds) {
  start("all");
  unit.plug(withoutClass());
  unit.daemon().waitForLine(debug::subsystem("usb"));
  const std::string begin = unit.daemon().lines().back();
  const sim::Deadline tooLate(4);
  EXPECT_EQ(Lines{unit.daemon().waitForLine("timed out")}, support::tagged({debug::undetermined}));
  EXPECT_FALSE(tooLate.passed());
  EXPECT_GE(secondsBetween(begin, unit.daemon().lines().back()), 3.0 - roundingOfTimes);
  EXPECT_TRUE(hasNoWorker());
}

TEST_F(LateAttributes, AreNotAwaitedForAnInterface) {
  start("all");
  const std::string interface = unit.sysfs.add(scanner()) + "/1-1:1.0";
  unit.sysfs.linkTo("/sys/bus/usb", interface + "/subsystem");
  support::HeldAttribute uevent(interface + "/uevent");
  EXPECT_EQ(during([&] {
              unit.uevents.add(support::devpathOf(interface));
              uevent.waitForReader();
              // A second look would find a file that nobody writes, and not come back.
              uevent.release("DEVTYPE=usb_interface\n");
            }),
            usbDevice(interface, {}));
}

TEST_F(LateAttributes, AreNotAwaitedForAnEndpoint) {
  start("all");
  const std::string endpoint = unit.sysfs.add(scanner()) + "/ep_00";
  unit.sysfs.writeAttribute(endpoint, "uevent", "");
  EXPECT_EQ(saidOfAdding(endpoint), support::nodeOf("", endpoint));
  unit.sysfs.linkTo("/sys/bus/usb", endpoint + "/subsystem");
  EXPECT_EQ(saidOfAdding(endpoint), usbDevice(endpoint, {}));
}

TEST_F(LateAttributes, MayHaveTheDeviceTypeAnywhereInTheUeventFile) {
  start();
  sim::UsbDevice device = scanner();
  for (const std::string& uevent :
       {std::string("DEVTYPE=usb_device"), std::string("A=\nDEVTYPE=usb_device\nB=\n"),
        std::string(20000, 'x') + "\nDEVTYPE=usb_device\n"}) {
    device.uevent = uevent;
    device.name += "1";
    EXPECT_EQ(kindOf(device), debug::generic);
  }
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
