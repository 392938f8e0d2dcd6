#include "tools/explain/rule_answers.h"

#include <gtest/gtest.h>

#include "ctrl/configuration_keys.h"
#include "hotplug/sysfs.h"
#include "sim/files.h"
#include "sim/sysfs.h"
#include "sim/usb_descriptors.h"
#include "support/private_world.h"
#include "unit/tools/explain/described_device.h"

namespace {

using explain::RuleAnswer;
using Verdict = RuleAnswer::Verdict;

const std::string cardDiskAndSound =
    sim::deviceDescriptor() +
    sim::configuration(sim::interface(0x0B, 0, 0) + sim::interface(8, 6, 0x50, 1) +
                       sim::interface(1, 2, 0, 2) + sim::endpoint(sim::transfer_type::isochronous, 0x03));

class RuleAnswers : public support::PrivateWorld {
 protected:
  explain::Circumstances circumstances_ = circumstancesWith(0);

  void configure(const std::string& usb) {
    sim::writeFile(configurationPath, "[usb]\n" + usb);
    circumstances_.policy = readAdmissionPolicy();
  }

  [[nodiscard]] std::vector<RuleAnswer> answersFor(const std::string& descriptors) const {
    const explain::Device device = describedDevice(descriptors);
    const auto attributes = device.tree->attributes(device.path);
    return answerRules(circumstances_, *attributes, explain::listDescriptors(descriptors));
  }

  [[nodiscard]] std::vector<Verdict> verdictsFor(const std::string& descriptors) const {
    std::vector<Verdict> verdicts;
    for (const RuleAnswer& answer : answersFor(descriptors)) {
      verdicts.push_back(answer.verdict);
    }
    return verdicts;
  }
};

TEST_F(RuleAnswers, NameWhatEachRuleFindsAndWhere) {
  configure("isochronous_user_warning = no\n");
  circumstances_.policy.smartcard = true;
  EXPECT_EQ(answersFor(cardDiskAndSound)[0].found, "interface 0 is smart card (11/0/0)");
  EXPECT_EQ(answersFor(cardDiskAndSound)[0].place, 27U);
  circumstances_.policy = {.blockMassStorage = true};
  EXPECT_EQ(answersFor(cardDiskAndSound)[2].found, "interface 1 is mass storage (SCSI, bulk-only) (8/6/80)");
  circumstances_.policy = {};
  EXPECT_EQ(answersFor(cardDiskAndSound)[3].found, "interface 2 has endpoint 0x03 (isochronous out)");
  EXPECT_EQ(answersFor(cardDiskAndSound)[3].place, 54U);
}

TEST_F(RuleAnswers, NameTheSpeedOfTheDevice) {
  circumstances_.linkSpeed = "full";
  const std::string fast =
      sim::deviceDescriptor() +
      sim::configuration(sim::interface(255, 0, 0) + sim::bytes({7, 5, 0x81, 2, 0x00, 0x02, 0}));
  const RuleAnswer speed = answersFor(fast)[4];
  EXPECT_EQ(speed.name, "speed");
  EXPECT_EQ(speed.verdict, Verdict::refused);
  EXPECT_EQ(speed.found, "the device is high speed, 480 Mbit/s");
  EXPECT_EQ(speed.place, std::nullopt);
  EXPECT_EQ(speed.reason, "the speed of the link is \"full\"");
}

// The first bytes of a device may be those of an interface.
TEST_F(RuleAnswers, OfTheSpeedNameNoInterfaceAtTheFirstByte) {
  circumstances_.linkSpeed = "full";
  circumstances_.policy.isochronousEnabled = true;
  const RuleAnswer speed = answersFor(sim::interface(255, 0, 0) + sim::bytes({7, 5, 0x81, 2, 0x00, 0x02, 0}) +
                                      std::string(2, 2))[4];
  EXPECT_EQ(speed.verdict, Verdict::refused);
  EXPECT_EQ(speed.found, "the device is high speed, 480 Mbit/s");
}

TEST_F(RuleAnswers, HaveAnInterfaceAtTheFirstByteInItsPlace) {
  circumstances_.policy.smartcard = true;
  const RuleAnswer smartcard = answersFor(sim::interface(0x0B, 0, 0))[0];
  EXPECT_EQ(smartcard.place, 0U);
  EXPECT_EQ(smartcard.found, "interface 0 is smart card (11/0/0)");
}

TEST_F(RuleAnswers, EndWithTheOneThatCannotReadTheDevice) {
  configure("hid_only = 1\nisochronous_enabled = 1\n");
  circumstances_.linkSpeed = "full";
  sim::Sysfs sysfs;
  const std::string device = sysfs.add(sim::UsbDevice{.descriptors = sim::keyboardDescriptors()});
  sysfs.removeAttribute(device, "speed");
  const std::vector<RuleAnswer> answers =
      answerRules(circumstances_, SysfsDevice(device), explain::listDescriptors(sim::keyboardDescriptors()));
  EXPECT_EQ(answers[1].verdict, Verdict::passed);
  EXPECT_EQ(answers[4].verdict, Verdict::failed);
  EXPECT_EQ(answers[4].found, "No such file or directory while open(\"" + device + "/speed\")");
}

TEST_F(RuleAnswers, BehindTheOneThatCannotReadTheDeviceAreNotAsked) {
  configure("hid_only = 1\n");
  sim::Sysfs sysfs;
  const std::string device = sysfs.add(sim::UsbDevice{});
  sysfs.removeAttribute(device, "descriptors");
  const std::vector<RuleAnswer> answers = answerRules(circumstances_, SysfsDevice(device), {});
  EXPECT_EQ(answers[1].verdict, Verdict::failed);
  EXPECT_EQ(answers[3].verdict, Verdict::notAsked);
  EXPECT_EQ(answers[3].whyNotAsked, "the daemon gives it up before");
}

TEST_F(RuleAnswers, EndWithTheFirstLoudRefusal) {
  configure("smartcard = 1\nblock_mass_storage = 1\n");
  EXPECT_EQ(verdictsFor(cardDiskAndSound),
            (std::vector{Verdict::refused, Verdict::notAsked, Verdict::notAsked, Verdict::notAsked,
                         Verdict::notAsked}));
}

TEST_F(RuleAnswers, GoOnBehindASilentRefusal) {
  configure("isochronous_user_warning = no\n");
  circumstances_.linkSpeed = "full";
  const std::vector<RuleAnswer> answers = answersFor(cardDiskAndSound);
  EXPECT_EQ(answers[3].verdict, Verdict::refusedSilently);
  EXPECT_EQ(answers[3].reason, "default: the key is not set; usb:isochronous_user_warning is set to \"no\"");
  EXPECT_EQ(answers[4].verdict, Verdict::passed);
}

TEST_F(RuleAnswers, ArePassedWhereNothingIsFound) {
  configure("smartcard = 1\nhid_only = 1\nblock_mass_storage = 1\n");
  circumstances_.linkSpeed = "full";
  EXPECT_EQ(verdictsFor(sim::keyboardDescriptors()), std::vector(5, Verdict::passed));
}

TEST_F(RuleAnswers, NameTheKeyOrItsDefault) {
  configure("smartcard = yes\nhid_only = maybe\nisochronous_enabled = TRUE\n");
  const std::vector<RuleAnswer> answers = answersFor(cardDiskAndSound);
  EXPECT_TRUE(answers[0].isOn);
  EXPECT_EQ(answers[0].reason, "the key is set to \"yes\"");
  EXPECT_FALSE(answers[1].isOn);
  EXPECT_EQ(answers[1].reason, "default: the key is set to \"maybe\", neither yes nor no");
  EXPECT_FALSE(answers[2].isOn);
  EXPECT_EQ(answers[2].reason, "default: the key is not set");
  EXPECT_FALSE(answers[3].isOn) << "isochronous devices are enabled";
  EXPECT_EQ(answers[4].reason, "the speed of the link is \"high\"");
}

}  // namespace
