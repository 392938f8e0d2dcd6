#include "tools/explain/explanation.h"

#include <gtest/gtest.h>

#include "ctrl/device_classes.h"
#include "sim/sysfs.h"
#include "support/named_case.h"
#include "support/private_world.h"
#include "tools/explain/sysfs_tree.h"
#include "unit/tools/explain/described_device.h"

namespace {

using explain::Explanation;
using explain::Outcome;

using ExplanationOf = support::PrivateWorld;

Explanation explained(const explain::Device& device, std::uint32_t classes) {
  return explainDevice(device, circumstancesWith(classes));
}

TEST_F(ExplanationOf, AGenericDeviceHasItsWorker) {
  const Explanation explanation = explained(recordedDevice("mtp-hs"), noClasses);
  EXPECT_EQ(explanation.kind, DeviceKind::generic);
  EXPECT_EQ(explanation.outcome, Outcome::served);
  EXPECT_EQ(explanation.display, "QEMU filesharing attached");
  EXPECT_EQ(explanation.worker,
            (WorkerArguments{"usb_rx_generic", "eth1", "<hostname>", "<port>", explanation.path}));
  EXPECT_EQ(explanation.reason, "");
  EXPECT_EQ(explanation.rules.size(), 5U);
}

TEST_F(ExplanationOf, ARefusedDeviceHasTheRuleAndTheLine) {
  const Explanation explanation = explained(recordedDevice("audio"), noClasses);
  EXPECT_EQ(explanation.outcome, Outcome::refused);
  EXPECT_EQ(explanation.rule, "usb:isochronous_enabled");
  EXPECT_EQ(explanation.display, "QEMU USB Audio is not supported because it has isochronous endpoints");
  EXPECT_TRUE(explanation.worker.empty());
}

TEST_F(ExplanationOf, ASilentRefusalHasNoLine) {
  explain::Circumstances circumstances = circumstancesWith(noClasses);
  circumstances.policy.isochronousUserWarning = false;
  const Explanation explanation = explainDevice(recordedDevice("audio"), circumstances);
  EXPECT_EQ(explanation.outcome, Outcome::refused);
  EXPECT_EQ(explanation.display, std::nullopt);
}

TEST_F(ExplanationOf, AKeyboardIsThatOfItsNode) {
  const Explanation explanation = explained(recordedDevice("kbd-fs-hiddev", true), allClasses);
  EXPECT_EQ(explanation.kind, DeviceKind::keyboard);
  EXPECT_EQ(explanation.outcome, Outcome::served);
  EXPECT_EQ(explanation.worker, explanation.nodes.at(0).worker);
  EXPECT_EQ(explanation.display, explanation.nodes.at(0).display);
  EXPECT_TRUE(explanation.rules.empty());
}

struct NoWorker : support::NamedCase {
  explain::Device device;
  std::optional<DeviceKind> kind;
  std::string reason;
};

class ExplanationWithoutWorker : public support::PrivateWorld,
                                 public testing::WithParamInterface<NoWorker> {};

INSTANTIATE_TEST_SUITE_P(
    Of, ExplanationWithoutWorker,
    testing::Values(
        NoWorker{{"Hub"}, recordedDevice("hub"), DeviceKind::hub, "hubs need none"},
        NoWorker{{"KeyboardWithoutNode"},
                 recordedDevice("kbd-fs"),
                 DeviceKind::keyboard,
                 "left to its hiddev node, which is not there: see usb_rx_ctrl(8)"},
        NoWorker{{"KeyboardWithAnotherNode"},
                 recordedDevice("kbd-fs-hiddev"),
                 DeviceKind::keyboard,
                 "left to its hiddev node, which has no worker either"},
        NoWorker{{"DescribedKeyboard"},
                 describedDevice(sim::keyboardDescriptors()),
                 DeviceKind::keyboard,
                 "left to its hiddev node, which descriptors do not show"},
        NoWorker{{"DescribedDisk"},
                 describedDevice(sim::diskDescriptors()),
                 DeviceKind::storage,
                 "left to its SCSI generic node, which descriptors do not show"},
        NoWorker{{"CutDescriptors"},
                 describedDevice(sim::keyboardDescriptors().substr(0, 17)),
                 std::nullopt,
                 "the daemon cannot find out what it is, and ignores it: EOF, fewer bytes than a device "
                 "descriptor has"},
        NoWorker{{"OtherDescriptors"},
                 describedDevice(std::string(18, '\x05')),
                 std::nullopt,
                 "the daemon cannot find out what it is, and ignores it: Not a device descriptor"},
        NoWorker{{"TwoBytes"},
                 describedDevice("\x12\x01"),
                 std::nullopt,
                 "the daemon gives it up after 3 seconds: \"uevent\" or \"bDeviceClass\" is not there"}));

TEST_P(ExplanationWithoutWorker, SaysWhyThereIsNone) {
  const Explanation explanation = explained(GetParam().device, allClasses);
  EXPECT_EQ(explanation.kind, GetParam().kind);
  EXPECT_EQ(explanation.outcome, Outcome::noWorker);
  EXPECT_EQ(explanation.reason, GetParam().reason);
  EXPECT_EQ(explanation.display, std::nullopt);
  EXPECT_TRUE(explanation.worker.empty());
}

TEST_F(ExplanationOf, CutDescriptorsAreReadByTheRulesWhereNoClassIsEnabled) {
  const Explanation explanation =
      explained(describedDevice(sim::keyboardDescriptors().substr(0, 17)), noClasses);
  EXPECT_EQ(explanation.kind, DeviceKind::generic);
  EXPECT_EQ(explanation.outcome, Outcome::served);
  EXPECT_EQ(explanation.descriptors.end, 0U);
}

TEST_F(ExplanationOf, ABareDeviceHasAnInferredSpeedAndNoDirectory) {
  const Explanation explanation = explained(describedDevice(sim::vendorDeviceDescriptors()), noClasses);
  EXPECT_TRUE(explanation.isSpeedInferred);
  EXPECT_EQ(explanation.name, "un-named device");
  EXPECT_EQ(explanation.worker.back(), "<device directory>");
}

TEST_F(ExplanationOf, ADeviceThatTheDaemonCannotJudgeHasNoWorker) {
  sim::Sysfs sysfs;
  const std::string device = sysfs.add(sim::UsbDevice{});
  sysfs.removeAttribute(device, "descriptors");
  const Explanation explanation =
      explained({.tree = std::make_shared<explain::SysfsTree>(), .path = device, .source = {}}, noClasses);
  EXPECT_EQ(explanation.kind, DeviceKind::generic);
  EXPECT_EQ(explanation.outcome, Outcome::noWorker);
  const std::string why = "No such file or directory while open(\"" + device + "/descriptors\")";
  EXPECT_EQ(explanation.reason, "the daemon cannot ask the policy, and ignores it: " + why);
  EXPECT_EQ(explanation.descriptors.damage, "") << "nothing that was read is damaged";
  ASSERT_EQ(explanation.rules.size(), 5U);
  EXPECT_EQ(explanation.rules[3].found, why);
}

TEST_F(ExplanationOf, ARefusedDeviceHasNoWorkerThoughItsNodeIsServed) {
  explain::Circumstances circumstances = circumstancesWith(storageClass);
  circumstances.policy.blockMassStorage = true;
  const Explanation explanation = explainDevice(recordedDevice("uas-hs"), circumstances);
  EXPECT_EQ(explanation.outcome, Outcome::refused);
  EXPECT_TRUE(explanation.worker.empty());
  ASSERT_EQ(explanation.nodes.size(), 1U);
  EXPECT_TRUE(explanation.nodes[0].isServed());
}

TEST_F(ExplanationOf, AGenericDeviceHasTheWorkersOfItsNodesBesideItsOwn) {
  const Explanation explanation = explained(recordedDevice("made-kbd-mouse-hiddev", true), keyboardClass);
  EXPECT_EQ(explanation.kind, DeviceKind::generic);
  EXPECT_EQ(explanation.worker.at(0), "usb_rx_generic");
  ASSERT_EQ(explanation.nodes.size(), 2U);
  EXPECT_EQ(explanation.nodes[1].worker.at(0), "usb_rx_keyboard");
}

}  // namespace
