// Nodes of HID devices in the USB subsystem, as older kernels have them: without a "uevent" file.

#include <gtest/gtest.h>

#include <string>

#include "system/support/attached_devices.h"
#include "system/support/held_attribute.h"
#include "system/support/hotplug.h"
#include "system/support/system_call_trace.h"

namespace {

class HiddevNode : public Hotplug {
 protected:
  std::string makeNode(const std::string& name = "hiddev0") {
    return unit.sysfs.add(sim::HiddevNode{.usbDevice = unit.sysfs.add(keyboard()), .name = name});
  }
};

class ServedHiddevNode : public HiddevNode, public testing::WithParamInterface<std::string> {
 protected:
  ServedHiddevNode() { start(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(ClassList, ServedHiddevNode, testing::Values("keyboard", "keyboard,scsi", "all"));

TEST_P(ServedHiddevNode, GetsAKeyboardWorker) {
  const std::string node = makeNode();
  EXPECT_EQ(saidOfAdding(node),
            usbDevice(node, {kind::hid, "starting usb_rx_keyboard for " + node + " (180:0)"}));
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments,
            (Messages{"usb_rx_keyboard", "eth1", "transmitter", "5001", "180", "0"}));
}

TEST_P(ServedHiddevNode, IsLeftAloneWithAUeventFile) {
  const std::string node = makeNode();
  unit.sysfs.writeAttribute(node, "uevent", "MAJOR=180\nMINOR=0\nDEVNAME=usb/hiddev0\n");
  EXPECT_EQ(saidOfAdding(node), usbDevice(node, {}));
}

TEST_F(HiddevNode, IsKnownByTheBeginningOfItsName) {
  start("keyboard");
  for (const std::string name : {"hiddev", "hiddev12", "hiddevice", "hiddev0:1"}) {
    const std::string node = makeNode(name);
    EXPECT_EQ(saidOfAdding(node),
              usbDevice(node, {kind::hid, "starting usb_rx_keyboard for " + node + " (180:0)"}));
  }
}

TEST_F(HiddevNode, IsReachedThroughItsClass) {
  start("keyboard");
  const std::string node = makeNode();
  const Messages said = saidOfAdding("/sys/class/usb/hiddev0");
  EXPECT_EQ(said, rxCtrl({"add /class/usb/hiddev0", "subsystem is 'usb'", kind::hid,
                          "starting usb_rx_keyboard for " + node + " (180:0)"}));
}

TEST_F(HiddevNode, GetsOneWorkerOnly) {
  start("keyboard");
  const std::string node = makeNode();
  saidOfAdding(node);
  EXPECT_EQ(saidOfAdding(node),
            rxCtrl({"add " + devpathOf(node), "a subprocess is already handling this device"}));
  EXPECT_EQ(unit.daemon().children().size(), 1U);
}

TEST_F(HiddevNode, WithoutADeviceNumberGetsNoWorker) {
  start("keyboard");
  const std::string node = makeNode();
  unit.sysfs.removeAttribute(node, "dev");
  EXPECT_EQ(saidOfAdding(node), usbDevice(node, {kind::hid, eventIgnored}));
  EXPECT_TRUE(unit.daemon().children().empty());
}

/** A daemon that keyboards are not left to waits for the node's "uevent" file like for any other's. */
class UnservedHiddevNode : public HiddevNode, public testing::WithParamInterface<std::string> {
 protected:
  UnservedHiddevNode() { start(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(ClassList, UnservedHiddevNode, testing::Values("none", "scsi"));

TEST_P(UnservedHiddevNode, IsGivenUpAfterAWhile) {
  const std::string node = makeNode();
  EXPECT_EQ(saidOfAdding(node), usbDevice(node, {kind::undetermined}));
  EXPECT_TRUE(unit.daemon().children().empty());
}

class MisnamedHiddevNode : public HiddevNode, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(Name, MisnamedHiddevNode,
                         testing::Values("hid", "hidde", "usbhid0", "xhiddev0", "HIDDEV0"));

TEST_P(MisnamedHiddevNode, IsAwaitedLikeAnyOther) {
  if (const auto obstacle = SystemCallTrace::obstacle()) {
    GTEST_SKIP() << *obstacle;
  }
  start("keyboard");
  const std::string node = makeNode(GetParam());
  const Messages said = during([&] {
    SystemCallTrace trace(unit.daemon().pid());
    unit.uevents.add(devpathOf(node));
    trace.runToSleep();
    unit.sysfs.writeAttribute(node, "uevent", "MAJOR=180\n");
  });
  EXPECT_EQ(said, usbDevice(node, {}));
}

}  // namespace
