// Nodes of HID devices in the USB subsystem, as older kernels have them: without a "uevent" file.

#include <string>

#include "support/system_call_trace.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

using support::Lines;
using support::usbDevice;

namespace debug = contract::debug;

class HiddevNode : public support::Hotplug {
 protected:
  std::string makeNode(const std::string& name = "hiddev0") {
    return unit.sysfs.add(sim::HiddevNode{.usbDevice = unit.sysfs.add(support::keyboard()), .name = name});
  }
  static Lines served(const std::string& node) {
    return usbDevice(node, {debug::hid, debug::startingKeyboard(node, "180:0")});
  }
};

class HiddevNodeServed : public HiddevNode, public testing::WithParamInterface<std::string> {
 protected:
  HiddevNodeServed() { start(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(ClassList, HiddevNodeServed, testing::Values("keyboard", "keyboard,scsi", "all"));

TEST_P(HiddevNodeServed, GetsAKeyboardWorker) {
  const std::string node = makeNode();
  EXPECT_EQ(saidOfAdding(node), served(node));
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            (Lines{"usb_rx_keyboard", "eth1", "transmitter", "5001", "180", "0"}));
}

TEST_P(HiddevNodeServed, IsLeftAloneWithAUeventFile) {
  const std::string node = makeNode();
  unit.sysfs.writeAttribute(node, "uevent", "MAJOR=180\nMINOR=0\nDEVNAME=usb/hiddev0\n");
  EXPECT_EQ(saidOfAdding(node), usbDevice(node, {}));
}

TEST_F(HiddevNode, IsKnownByTheBeginningOfItsName) {
  start("keyboard");
  for (const std::string name : {"hiddev", "hiddev12", "hiddevice"}) {
    const std::string node = makeNode(name);
    EXPECT_EQ(saidOfAdding(node), served(node));
  }
}

TEST_F(HiddevNode, IsReachedThroughItsClass) {
  start("keyboard");
  Lines expected = served(makeNode());
  expected.front() = debug::tag + debug::event("add", "/class/usb/hiddev0");
  EXPECT_EQ(saidOfAdding("/sys/class/usb/hiddev0"), expected);
}

TEST_F(HiddevNode, GetsOneWorkerOnly) {
  start("keyboard");
  const std::string node = makeNode();
  saidOfAdding(node);
  EXPECT_EQ(saidOfAdding(node),
            support::tagged({debug::event("add", support::devpathOf(node)), debug::alreadyHandled}));
  EXPECT_EQ(unit.daemon().children().size(), 1U);
}

TEST_F(HiddevNode, GetsNoWorkerBeforeItHasADeviceNumber) {
  start("keyboard");
  const std::string node = makeNode();
  unit.sysfs.removeAttribute(node, "dev");
  EXPECT_EQ(saidOfAdding(node), usbDevice(node, {debug::hid, debug::eventIgnored}));
  EXPECT_TRUE(hasNoWorker());
  EXPECT_TRUE(unit.display.takeWrites().empty());
  unit.sysfs.writeAttribute(node, "dev", "180:0\n");
  EXPECT_EQ(saidOfAdding(node), served(node));
}

/** A daemon that keyboards are not left to waits for the node's "uevent" file like for any other's. */
class HiddevNodeUnserved : public HiddevNode, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(ClassList, HiddevNodeUnserved, testing::Values("none", "scsi"));

TEST_P(HiddevNodeUnserved, IsGivenUpAfterAWhile) {
  start(GetParam());
  const std::string node = makeNode();
  EXPECT_EQ(saidOfAdding(node), usbDevice(node, {debug::undetermined}));
  EXPECT_TRUE(hasNoWorker());
}

TEST_F(HiddevNode, OfAnotherNameIsAwaitedLikeAnyOther) {
  if (const auto obstacle = support::SystemCallTrace::obstacle()) {
    GTEST_SKIP() << *obstacle;
  }
  start("keyboard");
  for (const std::string name : {"hidde", "xhiddev0"}) {
    const std::string node = makeNode(name);
    EXPECT_EQ(during([&] {
                support::SystemCallTrace trace(unit.daemon().pid());
                unit.uevents.add(support::devpathOf(node));
                trace.runToSleep();
                unit.sysfs.writeAttribute(node, "uevent", "MAJOR=180\n");
              }),
              usbDevice(node, {}));
  }
}

}  // namespace
