// Recordings that were written by hand and leave out what follows from the rest.

#include "tools/recorder/short_recording.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/files.h"
#include "support/temporary_directory.h"
#include "tools/recorder/recording_input.h"
#include "unit/tools/recorder/thrown_text.h"

namespace {

using namespace std::string_literals;

using recorder::TreeEntry;

class ShortRecording : public testing::Test {
 protected:
  support::TemporaryDirectory devices;
  std::string folder = devices / "scanner";
  std::string about = "a scanner\ndevice directory: /sys/devices/usb1/1-1\nspeed: 480\n";
  std::string tree = "b devices/usb1/1-1/descriptors 12010002ff00\n";

  [[nodiscard]] recorder::DeviceRecording read() const {
    sim::writeFile(folder + "/about.txt", about);
    sim::writeFile(folder + "/tree.txt", tree);
    return recorder::readRecording(folder);
  }

  /** The content of this entry below the device's directory; "missing" where there is none. */
  [[nodiscard]] std::string contentOf(const std::string& name) const {
    const recorder::DeviceRecording recording = read();
    const TreeEntry* entry = recording.entry("devices/usb1/1-1/" + name);
    return entry == nullptr ? "missing" : entry->content;
  }
};

TEST_F(ShortRecording, ShowsWhatAKernelShowsOfEveryDevice) {
  const std::string device = "devices/usb1/1-1";
  const std::vector<TreeEntry> expected = {
      {TreeEntry::Kind::directory, device, ""},
      {TreeEntry::Kind::file, device + "/descriptors", "\x12\x01\x00\x02\xff\x00"s},
      {TreeEntry::Kind::file, device + "/bDeviceClass", "ff\n"},
      {TreeEntry::Kind::file, device + "/speed", "480\n"},
      {TreeEntry::Kind::link, device + "/subsystem", "../../../bus/usb"},
      {TreeEntry::Kind::file, device + "/uevent", "DEVTYPE=usb_device\n"},
      {TreeEntry::Kind::link, "bus/usb/devices/1-1", "../../../devices/usb1/1-1"}};

  EXPECT_EQ(read().tree, expected);
}

TEST_F(ShortRecording, HasTheProductTextThatIsKnown) {
  EXPECT_EQ(contentOf("product"), "missing");
  about += "product: Scan o'matic\n";

  EXPECT_EQ(contentOf("product"), "Scan o'matic\n");
}

TEST_F(ShortRecording, KeepsWhatIsKnown) {
  tree += "f devices/usb1/1-1/bDeviceClass 09\\n\nf devices/usb1/1-1/idVendor 0627\\n\n";

  EXPECT_EQ(contentOf("bDeviceClass"), "09\n");
  EXPECT_EQ(contentOf("idVendor"), "0627\n");
}

TEST_F(ShortRecording, IsAnnouncedAsAUsbDevice) {
  const recorder::DeviceRecording recording = read();

  ASSERT_EQ(recording.plugEvents.size(), 1U);
  EXPECT_EQ(recording.plugEvents.front().datagram,
            "add@/devices/usb1/1-1\0ACTION=add\0DEVPATH=/devices/usb1/1-1\0SUBSYSTEM=usb\0"
            "DEVTYPE=usb_device\0"s);
  EXPECT_TRUE(recording.unplugEvents.empty());
}

TEST_F(ShortRecording, IsNotOneWhoseDirectoryIsThere) {
  tree = "d devices/usb1/1-1\n" + tree;

  EXPECT_EQ(read().tree.size(), 2U);
}

TEST_F(ShortRecording, NeedsDescriptors) {
  tree = "b devices/usb1/1-1/descriptors 12010002\n";
  EXPECT_EQ(errorThrownBy([this] { static_cast<void>(read()); }),
            "scanner: tree.txt has no descriptors of the device");
  tree = "b devices/usb1/1-2/descriptors 12010002ff00\n";
  EXPECT_EQ(errorThrownBy([this] { static_cast<void>(read()); }),
            "scanner: tree.txt has no descriptors of the device");
}

TEST_F(ShortRecording, NeedsADirectoryBelowThoseOfDevices) {
  about = "a scanner\ndevice directory: usb1/1-1\nspeed: 480\n";
  EXPECT_EQ(errorThrownBy([this] { static_cast<void>(read()); }),
            "scanner: about.txt has no \"device directory: /sys/devices/...\"");
}

TEST_F(ShortRecording, NeedsADirectoryWhereThereAreNoEvents) {
  about = "a scanner\nspeed: 480\n";
  EXPECT_EQ(errorThrownBy([this] { static_cast<void>(read()); }),
            "scanner: about.txt has no \"device directory: /sys/devices/...\"");
}

TEST_F(ShortRecording, MayEndItsDirectoryInASlash) {
  about = "a scanner\ndevice directory: /sys/devices/usb1/1-1/\nspeed: 480\n";
  EXPECT_EQ(read().directory, "/sys/devices/usb1/1-1");
  EXPECT_EQ(contentOf("bDeviceClass"), "ff\n");
}

TEST_F(ShortRecording, HasNoLineEndsOfAnotherSystem) {
  const std::string fault = ": line ends of another system (CR LF)";
  tree.insert(tree.size() - 1, "\r");
  EXPECT_EQ(errorThrownBy([this] { static_cast<void>(read()); }), folder + "/tree.txt:1" + fault);
  about.insert(about.size() - 1, "\r");
  EXPECT_EQ(errorThrownBy([this] { static_cast<void>(read()); }), folder + "/about.txt:3" + fault);
}

}  // namespace
