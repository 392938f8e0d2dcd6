#include "tools/explain/kind_answers.h"

#include <gtest/gtest.h>

#include "ctrl/device_classes.h"
#include "hotplug/sysfs.h"
#include "sim/sysfs.h"
#include "sim/usb_descriptors.h"
#include "support/named_case.h"
#include "support/private_world.h"
#include "unit/tools/explain/described_device.h"

namespace {

using explain::KindAnswer;

std::string device(const std::string& content) {
  return sim::deviceDescriptor() + sim::configuration(content);
}

std::vector<KindAnswer> answersFor(const std::string& descriptors, std::uint32_t classes) {
  const explain::Device described = describedDevice(descriptors);
  const auto attributes = described.tree->attributes(described.path);
  return explain::answerKinds(classes, *attributes);
}

const std::string keyboard = sim::interface(3, 1, 1);
const std::string mouse = sim::interface(3, 1, 2, 1);
const std::string disk = sim::interface(8, 6, 0x50);

struct Asked : support::NamedCase {
  std::string descriptors;
  bool isKeyboard;
  std::string keyboardReason;
  bool isStorage;
  std::string storageReason;
};

using KindAnswersOrder = support::PrivateWorld;

class KindAnswers : public testing::TestWithParam<Asked> {};

INSTANTIATE_TEST_SUITE_P(
    Of, KindAnswers,
    testing::Values(Asked{{"Keyboard"},
                          device(keyboard),
                          true,
                          "every interface is a HID keyboard",
                          false,
                          "interface 0 is HID boot keyboard (3/1/1)"},
                    Asked{{"KeyboardWithMouse"},
                          device(keyboard + mouse),
                          false,
                          "interface 1 is HID boot mouse (3/1/2)",
                          false,
                          "interface 0 is HID boot keyboard (3/1/1)"},
                    Asked{{"Disk"},
                          device(disk),
                          false,
                          "interface 0 is mass storage (SCSI, bulk-only) (8/6/80)",
                          true,
                          "its one interface is mass storage, bulk-only"},
                    Asked{{"DiskWithTwoSettings"},
                          device(disk + sim::interface(8, 6, 0x50, 0, 1)),
                          false,
                          "interface 0 is mass storage (SCSI, bulk-only) (8/6/80)",
                          false,
                          "it has 2 interface settings, not one"},
                    Asked{{"DiskWithTwoConfigurations"},
                          sim::deviceDescriptor(0, 2) + sim::configuration(disk),
                          false,
                          "interface 0 is mass storage (SCSI, bulk-only) (8/6/80)",
                          false,
                          "it has 2 configurations, not one"},
                    Asked{{"NothingAtAll"},
                          device(""),
                          true,
                          "no interface is anything else",
                          false,
                          "it has no interface"},
                    Asked{{"DeviceOfAClass"},
                          sim::deviceDescriptor(0xEF) + sim::configuration(keyboard),
                          false,
                          "the device class is miscellaneous (239)",
                          false,
                          "the device class is miscellaneous (239)"},
                    Asked{{"CutDevice"},
                          sim::deviceDescriptor().substr(0, 10),
                          false,
                          "its descriptors cannot be tested: EOF, fewer bytes than a device descriptor has",
                          false,
                          "its descriptors cannot be tested: EOF, fewer bytes than a device descriptor has"},
                    Asked{{"OtherDescriptor"},
                          sim::configuration(keyboard) + std::string(18, '\0'),
                          false,
                          "its descriptors cannot be tested: Not a device descriptor",
                          false,
                          "its descriptors cannot be tested: Not a device descriptor"}));

TEST_P(KindAnswers, NameWhatDecidesThem) {
  for (const std::uint32_t classes : {noClasses, keyboardClass, storageClass, allClasses}) {
    const std::vector<KindAnswer> answers = answersFor(GetParam().descriptors, classes);
    ASSERT_EQ(answers.size(), 3U);
    EXPECT_EQ(answers[1].fits, GetParam().isKeyboard);
    EXPECT_EQ(answers[1].reason, GetParam().keyboardReason);
    EXPECT_EQ(answers[2].fits, GetParam().isStorage);
    const bool isGivenUp = answers[1].hasFailed && answers[1].isAsked();
    EXPECT_EQ(answers[2].reason, isGivenUp ? "" : GetParam().storageReason);
  }
}

TEST_F(KindAnswersOrder, IsThatOfTheDaemon) {
  const std::vector<KindAnswer> answers = answersFor(device(keyboard), allClasses);
  EXPECT_EQ(answers[0].kind, "hub");
  EXPECT_EQ(answers[1].kind, "keyboard");
  EXPECT_EQ(answers[2].kind, "storage");
}

TEST_F(KindAnswersOrder, LeavesOutKindsBehindTheOneThatFitsAndClassesThatAreNotEnabled) {
  const auto skipped = [](const std::string& descriptors, std::uint32_t classes) {
    const std::vector<KindAnswer> answers = answersFor(descriptors, classes);
    return answers[0].whyNotAsked + "|" + answers[1].whyNotAsked + "|" + answers[2].whyNotAsked;
  };
  EXPECT_EQ(skipped(device(keyboard), noClasses),
            "|not asked without --class=keyboard|not asked without --class=scsi");
  EXPECT_EQ(skipped(device(keyboard), keyboardClass), "||it is a keyboard already");
  EXPECT_EQ(skipped(device(disk), allClasses), "||");
  EXPECT_EQ(skipped(sim::deviceDescriptor(9), allClasses), "|it is a hub already|it is a hub already");
}

TEST_F(KindAnswersOrder, EndsWithTheTestThatFails) {
  const std::string cut = sim::deviceDescriptor().substr(0, 10);
  const std::vector<KindAnswer> both = answersFor(cut, allClasses);
  EXPECT_TRUE(both[1].isAsked());
  EXPECT_EQ(both[2].whyNotAsked, "the daemon gives it up before");
  EXPECT_TRUE(answersFor(cut, storageClass)[2].isAsked()) << "the first test is that of storage";
}

TEST_F(KindAnswersOrder, AsksForNothingOfWhatIsNotSeenToBeAUsbDevice) {
  sim::Sysfs sysfs;
  const std::string path = sysfs.add(sim::UsbDevice{.deviceClass = "09", .descriptors = device(keyboard)});
  sysfs.writeAttribute(path, "uevent", "DEVTYPE=usb_interface\n");
  for (const KindAnswer& answer : explain::answerKinds(allClasses, SysfsDevice(path))) {
    EXPECT_EQ(answer.whyNotAsked, "the daemon gives it up before") << answer.kind;
    EXPECT_FALSE(answer.fits) << answer.kind;
  }
}

TEST_F(KindAnswersOrder, HasTheHubWhereItsClassSaysSo) {
  const KindAnswer hub = answersFor(sim::deviceDescriptor(9), noClasses)[0];
  EXPECT_TRUE(hub.fits);
  EXPECT_EQ(hub.reason, "the device class is hub (9)");
}

}  // namespace
