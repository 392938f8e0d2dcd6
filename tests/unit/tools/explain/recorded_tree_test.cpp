#include "tools/explain/recorded_tree.h"

#include <gtest/gtest.h>

#include <chrono>

#include "ctrl/device_classes.h"
#include "sim/device_recording.h"
#include "support/thrown.h"
#include "ulx/exceptions.h"

namespace {

using explain::RecordedTree;
using recorder::DeviceRecording;
using recorder::TreeEntry;
using Kind = TreeEntry::Kind;

const std::string device = "/sys/devices/usb1/1-1";

DeviceRecording smallRecording() {
  DeviceRecording recording;
  recording.directory = device;
  recording.tree = {{Kind::directory, "devices/usb1", ""},
                    {Kind::file, "devices/usb1/uevent", "DEVTYPE=usb_device\n"},
                    {Kind::directory, "devices/usb1/1-1", ""},
                    {Kind::file, "devices/usb1/1-1/product", "Hub\n"},
                    {Kind::link, "devices/usb1/1-1/subsystem", "../../../bus/usb"},
                    {Kind::directory, "devices/usb1/1-1/1-1:1.0", ""},
                    {Kind::directory, "devices/usb1/1-1/1-1:1.0/usb/hiddev10", ""},
                    {Kind::directory, "devices/usb1/1-1/1-1:1.0/usb/hiddev9", ""},
                    {Kind::directory, "devices/usb1/1-1/1-1:1.0/usb/hiddev", ""},
                    {Kind::link, "devices/usb1/1-1/1-1:1.0/usb/hiddev9/device", "../../../1-1:1.0"},
                    {Kind::directory, "devices/usb1/1-1/1-1.1", ""},
                    {Kind::file, "devices/usb1/1-1/1-1.1/uevent", "DEVTYPE=usb_device\n"},
                    {Kind::directory, "devices/usb1/1-1/1-1.1/1-1.1:1.0/usb/hiddev3", ""},
                    {Kind::link, "class/usb/hiddev9", "../../devices/usb1/1-1/1-1:1.0/usb/hiddev9"},
                    {Kind::link, "class/loop", "loop"},
                    {Kind::file, "devices/usb1/1-10/uevent", "DEVTYPE=usb_device\n"},
                    {Kind::directory, "devices/usb1/1-10", ""}};
  return recording;
}

class RecordedTreeOfAHub : public testing::Test {
 protected:
  RecordedTree tree_{smallRecording()};
};

TEST_F(RecordedTreeOfAHub, HasTheDeviceAndThoseBehindIt) {
  EXPECT_EQ(tree_.devices(), (std::vector<std::string>{device, device + "/1-1.1"}));
}

TEST_F(RecordedTreeOfAHub, HasTheNodesOfEachDeviceInTheOrderOfTheirNumbers) {
  EXPECT_EQ(tree_.nodes(device),
            (std::vector<std::string>{device + "/1-1:1.0/usb/hiddev", device + "/1-1:1.0/usb/hiddev9",
                                      device + "/1-1:1.0/usb/hiddev10"}));
  EXPECT_EQ(tree_.nodes(device + "/1-1.1").size(), 1U);
}

TEST_F(RecordedTreeOfAHub, HasScsiGenericNodesBySubsystemAndNotByName) {
  DeviceRecording recording = smallRecording();
  recording.directory = device + "/1-1.1";
  recording.tree = {{Kind::directory, "devices/usb1/1-1/1-1.1", ""},
                    {Kind::directory, "devices/usb1/1-1/1-1.1/disk", ""},
                    {Kind::link, "devices/usb1/1-1/1-1.1/disk/subsystem", "../class/scsi_generic"},
                    {Kind::directory, "devices/usb1/1-1/1-1.1/sg1", ""},
                    {Kind::file, "devices/usb1/1-1/1-1.1/sg1/subsystem", "scsi_generic"}};
  EXPECT_EQ(RecordedTree(recording).nodes(recording.directory),
            (std::vector<std::string>{recording.directory + "/disk"}));
}

TEST_F(RecordedTreeOfAHub, FollowsLinksAndTheirParents) {
  const TreeEntry* product = tree_.find("/sys/class/usb/hiddev9/device/../product");
  ASSERT_NE(product, nullptr);
  EXPECT_EQ(product->content, "Hub\n");
  EXPECT_EQ(tree_.find("/sys/class/usb/hiddev8/device"), nullptr);
  EXPECT_EQ(tree_.find("/sys/class/loop/product"), nullptr);
}

TEST_F(RecordedTreeOfAHub, ShowsAttributesAsSysfsDoes) {
  const auto attributes = tree_.attributes(device);
  EXPECT_EQ(attributes->name(), "Hub");
  EXPECT_EQ(attributes->subsystem(), "usb");
  EXPECT_TRUE(attributes->has("product"));
  EXPECT_FALSE(attributes->has("speed"));
  EXPECT_EQ(tree_.attributes(device + "/1-1.1")->subsystem(), "");
}

TEST_F(RecordedTreeOfAHub, FailsInTheWordsOfTheCallsThatWouldFail) {
  const auto attributes = tree_.attributes(device);
  EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>(
                [&attributes] { static_cast<void>(attributes->text("speed")); }),
            "open(\"" + device + "/speed\")");
  EXPECT_EQ(support::contextThrownBy([&attributes] { static_cast<void>(attributes->text("1-1.1")); }),
            "read(\"" + device + "/1-1.1\")");
}

TEST_F(RecordedTreeOfAHub, GivesUpAtOnceWhatIsIncomplete) {
  DeviceRecording recording = smallRecording();
  recording.tree.push_back({Kind::file, "devices/usb1/1-1/uevent", "DEVTYPE=usb_device\n"});
  const RecordedTree tree(recording);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(tree.kindOf(allClasses, *tree.attributes(device)), DeviceKind::undetermined);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2))
      << "the daemon waits for three";
}

TEST(RecordedTree, HasAllDevicesOfARecordingThatNamesNone) {
  EXPECT_EQ(RecordedTree(sim::loadRecording("root-hubs")).devices().size(), 5U);
}

}  // namespace
