#include "tools/explain/node_answers.h"

#include <gtest/gtest.h>

#include "ctrl/device_classes.h"
#include "hotplug/sysfs.h"
#include "sim/sysfs.h"
#include "support/private_world.h"
#include "tools/explain/sysfs_tree.h"
#include "unit/tools/explain/described_device.h"

namespace {

using explain::NodeAnswer;

const std::string elsewhere =
    "there when the daemon starts, it is left alone: only boot keyboards are looked for then";

class NodeAnswers : public support::PrivateWorld {
 protected:
  sim::Sysfs sysfs_;

  [[nodiscard]] static std::vector<NodeAnswer> recorded(const std::string& name, std::uint32_t classes,
                                                        bool hasClassUsb = true) {
    return answerNodes(recordedDevice(name, hasClassUsb), circumstancesWith(classes));
  }

  [[nodiscard]] static NodeAnswer plugged(const std::string& device) {
    return answerNodes({.tree = std::make_shared<explain::SysfsTree>(), .path = device, .source = {}},
                       circumstancesWith(allClasses))
        .at(0);
  }
};

TEST_F(NodeAnswers, HaveAKeyboardsWorkerForAHidNodeOfTheClassUsb) {
  const std::vector<NodeAnswer> answers = recorded("kbd-fs-hiddev", keyboardClass);
  ASSERT_EQ(answers.size(), 1U);
  EXPECT_TRUE(answers[0].isServed());
  EXPECT_EQ(answers[0].display, "QEMU USB Keyboard attached");
  EXPECT_EQ(answers[0].worker,
            (WorkerArguments{"usb_rx_keyboard", "eth1", "<hostname>", "<port>+1", "180", "0"}));
  EXPECT_EQ(answers[0].atStart, "");
}

TEST_F(NodeAnswers, HaveNoWorkerForAHidNodeOfACurrentKernel) {
  const std::vector<NodeAnswer> answers = recorded("kbd-fs-hiddev", keyboardClass, false);
  ASSERT_EQ(answers.size(), 1U);
  EXPECT_EQ(answers[0].reason,
            "this kernel puts it into the class \"usbmisc\", and the daemon looks into \"usb\" only: see "
            "usb_rx_ctrl(8)");
  EXPECT_TRUE(answers[0].worker.empty());
}

TEST_F(NodeAnswers, HaveNoWorkerForAHidNodeWithAnEvent) {
  const std::string device = sysfs_.add(sim::UsbDevice{.descriptors = sim::keyboardDescriptors()});
  sysfs_.writeAttribute(sysfs_.add(sim::HiddevNode{.usbDevice = device}), "uevent", "MAJOR=180\n");
  EXPECT_EQ(plugged(device).reason,
            "this kernel shows an \"uevent\" file for it, by which the daemon takes it for an interface: see "
            "usb_rx_ctrl(8)");
}

TEST_F(NodeAnswers, HaveNoWorkerForAHidNodeWithoutANumber) {
  const std::string device = sysfs_.add(sim::UsbDevice{.descriptors = sim::keyboardDescriptors()});
  const std::string node = sysfs_.add(sim::HiddevNode{.usbDevice = device});
  sysfs_.removeAttribute(node, "dev");
  EXPECT_EQ(plugged(device).reason,
            "the daemon ignores it: No such file or directory while open(\"" + node + "/dev\")");
}

TEST_F(NodeAnswers, HaveAWorkerForEachUnitOfADisk) {
  const std::vector<NodeAnswer> answers = recorded("storage-2lun", storageClass);
  ASSERT_EQ(answers.size(), 2U);
  EXPECT_EQ(answers[1].worker,
            (WorkerArguments{"usb_rx_scsi", "eth1", "<hostname>", "<port>+2", answers[1].path}));
  EXPECT_TRUE(answers[1].path.ends_with("/sg1"));
  EXPECT_EQ(answers[1].display, "QEMU     QEMU HARDDISK    attached");
}

TEST_F(NodeAnswers, AreOfEnabledClassesOnly) {
  EXPECT_EQ(recorded("kbd-fs-hiddev", noClasses).size(), 0U);
  EXPECT_EQ(recorded("kbd-fs-hiddev", storageClass).size(), 0U);
  EXPECT_EQ(recorded("storage-hs", keyboardClass).size(), 0U);
  EXPECT_EQ(recorded("storage-hs", allClasses).size(), 1U);
}

TEST_F(NodeAnswers, SayWhatIsDifferentAtTheStart) {
  EXPECT_EQ(recorded("made-kbd-noboot-hiddev", keyboardClass).at(0).atStart, elsewhere);
  EXPECT_EQ(recorded("mouse-fs-hiddev", keyboardClass).at(0).atStart, elsewhere);
  const std::string device = sysfs_.add(sim::UsbDevice{.descriptors = "\x12"});
  sysfs_.add(sim::HiddevNode{.usbDevice = device});
  EXPECT_EQ(
      plugged(device).atStart,
      "there when the daemon starts, it ends the daemon: EOF, fewer bytes than a device descriptor has");
}

}  // namespace
