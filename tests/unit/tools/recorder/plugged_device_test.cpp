// A device that is plugged in already is kept as a folder.

#include "tools/recorder/plugged_device.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "sim/files.h"
#include "sim/unit.h"
#include "support/child.h"
#include "support/held_attribute.h"
#include "support/temporary_directory.h"
#include "tools/recorder/recording_input.h"
#include "tools/recorder/recording_output.h"
#include "tools/recorder/recording_text.h"
#include "unit/tools/recorder/thrown_text.h"
#include "unit/tools/recorder/timed_action.h"

namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::string>;

class PluggedDeviceOfARecording : public testing::TestWithParam<std::string> {
 protected:
  const sim::DeviceRecording recording = sim::loadRecording(GetParam());
  sim::Unit unit;
};

INSTANTIATE_TEST_SUITE_P(Devices, PluggedDeviceOfARecording, testing::ValuesIn(sim::recordingNames()),
                         [](const testing::TestParamInfo<std::string>& device) {
                           std::string name = device.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

/** The recording's device; of the root hubs each. */
Texts devicesOf(const sim::DeviceRecording& recording) {
  if (!recording.directory.empty()) {
    return {recording.directory};
  }
  Texts hubs;
  for (const sim::TreeEntry& entry : recording.tree) {
    if (entry.path.ends_with("/bDeviceClass")) {
      hubs.push_back("/sys/" + fs::path(entry.path).parent_path().string());
    }
  }
  return hubs;
}

/** The lines of a file, sorted where they come from several devices. */
Texts linesOf(const Texts& files) {
  Texts lines;
  for (const std::string& file : files) {
    const std::string text = sim::readFile(file);
    for (std::size_t begin = 0; begin < text.size();) {
      const std::size_t end = text.find('\n', begin);
      lines.push_back(text.substr(begin, end - begin));
      begin = end + 1;
    }
  }
  if (files.size() > 1) {
    std::sort(lines.begin(), lines.end());
  }
  return lines;
}

TEST_P(PluggedDeviceOfARecording, HasTheTreeOfTheRecording) {
  const std::string recorded = sim::readFile(sim::recordingsFolder() + "/" + GetParam() + "/tree.txt");
  unit.sysfs.layOut(recording);
  const support::TemporaryDirectory folder;
  Texts trees;
  for (const std::string& device : devicesOf(recording)) {
    const std::string place = folder / std::to_string(trees.size());
    recorder::writeRecording(recorder::recordPluggedDevice(device), "2.6.32", place);
    trees.push_back(place + "/tree.txt");
  }
  sim::writeFile(folder / "recorded", recorded);
  Texts expected = linesOf({folder / "recorded"});
  if (trees.size() > 1) {
    std::sort(expected.begin(), expected.end());
  }

  EXPECT_EQ(linesOf(trees), expected);
}

TEST_P(PluggedDeviceOfARecording, HasTheFactsOfTheRecording) {
  unit.sysfs.layOut(recording);
  for (const std::string& device : devicesOf(recording)) {
    const recorder::DeviceRecording saved = recorder::recordPluggedDevice(device);
    EXPECT_EQ(saved.directory, device);
    if (!recording.directory.empty()) {
      EXPECT_EQ(saved.product, recording.product);
      EXPECT_EQ(saved.speed, recording.speed);
    }
  }
}

/** A mouse below a hub. */
class PluggedDevice : public testing::Test {
 protected:
  sim::Unit unit;
  sim::DeviceRecording mouse = sim::loadRecording("mouse-fs");
  support::TemporaryDirectory devices;
  std::string folder = devices / "mouse";

  PluggedDevice() { unit.sysfs.layOut(mouse); }

  void save() const {
    recorder::writeRecording(recorder::recordPluggedDevice(mouse.directory), "2.6.32", folder);
  }
};

TEST_F(PluggedDevice, IsDescribedByItsProductTextAndBySayingHowItWasKept) {
  save();

  EXPECT_EQ(
      sim::readFile(folder + "/about.txt"),
      "QEMU USB Mouse\nkernel: 2.6.32\nspeed: 12\nproduct: QEMU USB Mouse\ndevice directory: " +
          mouse.directory +
          "\norigin: saved while it was plugged in; plug.txt and unplug.txt are made up from tree.txt\n");
}

TEST_F(PluggedDevice, WithoutAProductTextIsDescribedAsSuch) {
  unit.sysfs.removeAttribute(mouse.directory, "product");

  EXPECT_EQ(recorder::recordPluggedDevice(mouse.directory).description, "device without a product text");
}

TEST_F(PluggedDevice, IsReadAgainAsItWasSaved) {
  const recorder::DeviceRecording saved = recorder::recordPluggedDevice(mouse.directory);
  save();
  const recorder::DeviceRecording loaded = recorder::readRecording(folder);

  EXPECT_EQ(loaded.tree, saved.tree);
  EXPECT_EQ(loaded.origin, saved.origin);
  ASSERT_FALSE(saved.plugEvents.empty());
  ASSERT_FALSE(saved.unplugEvents.empty());
  ASSERT_EQ(loaded.plugEvents.size(), saved.plugEvents.size());
  ASSERT_EQ(loaded.unplugEvents.size(), saved.unplugEvents.size());
  EXPECT_EQ(loaded.plugEvents.back().datagram, saved.plugEvents.back().datagram);
  EXPECT_EQ(loaded.unplugEvents.back().datagram, saved.unplugEvents.back().datagram);
}

TEST_F(PluggedDevice, LeavesNoSerialNumberInItsFolder) {
  const std::string node = mouse.directory + "/1-5:1.0/hid/input/input7";
  unit.sysfs.writeAttribute(mouse.directory, "serial", "S3CR3T\n");
  unit.sysfs.writeAttribute(fs::path(mouse.directory).parent_path(), "serial", "S3CR3T\n");
  unit.sysfs.writeAttribute(mouse.directory + "/1-5:1.0/hid", "uevent",
                            "HID_ID=0003\nHID_UNIQ=S3CR3T\nMODALIAS=hid\n");
  unit.sysfs.makeLink(mouse.directory + "/1-5:1.0/hid/subsystem", "../../../../../../../bus/hid");
  unit.sysfs.writeAttribute(node, "uevent", "PROP=0\nUNIQ=\"S3CR3T\"\n");
  unit.sysfs.writeAttribute(node, "uniq", "S3CR3T\n");
  unit.sysfs.makeLink(node + "/subsystem", "../../../../../../../../../class/input");
  unit.sysfs.writeAttribute(node + "/battery", "uevent",
                            "POWER_SUPPLY_ONLINE=1\nPOWER_SUPPLY_SERIAL_NUMBER=S3CR3T\n");
  unit.sysfs.makeLink(node + "/battery/subsystem", "../../../../../../../../../../class/power_supply");
  const std::string named = mouse.directory + "/1-5:1.0/hid/power_supply/hid-S3CR3T-battery";
  unit.sysfs.writeAttribute(named, "uevent", "POWER_SUPPLY_NAME=hid-S3CR3T-battery\n");
  unit.sysfs.makeLink(named + "/subsystem", "../../../../../../../../../class/power_supply");
  unit.sysfs.linkTo(named, "/sys/class/power_supply/hid-S3CR3T-battery");
  save();

  for (const std::string file : {"about.txt", "tree.txt", "plug.txt", "unplug.txt"}) {
    EXPECT_EQ(sim::readFile(folder + "/" + file).find("S3CR3T"), std::string::npos) << file;
  }
  const std::string plug = sim::readFile(folder + "/plug.txt");
  for (const std::string item : {"HID_UNIQ=", "UNIQ=\"\"", "POWER_SUPPLY_SERIAL_NUMBER="}) {
    EXPECT_NE(plug.find("\n" + item + "\n"), std::string::npos) << item;
  }
}

TEST_F(PluggedDevice, BehindAHubHasTheHubsInItsTreeButNotInItsEvents) {
  const sim::DeviceRecording hubs = sim::loadRecording("hub-hub-kbd");
  unit.sysfs.layOut(hubs);
  const std::string inner = hubs.directory + "/1-5.1";
  const recorder::DeviceRecording saved = recorder::recordPluggedDevice(inner + "/1-5.1.2");

  EXPECT_NE(saved.entry(hubs.devpath().substr(1) + "/bDeviceClass"), nullptr);
  EXPECT_NE(saved.entry(inner.substr(sizeof("/sys/") - 1) + "/bDeviceClass"), nullptr);
  for (const sim::RecordedEvent& event : saved.plugEvents) {
    EXPECT_TRUE(event.datagram.starts_with("add@" + saved.devpath())) << event.datagram;
  }
}

TEST_F(PluggedDevice, MustBeAUsbDevice) {
  for (const std::string& other : Texts{mouse.directory + "/1-5:1.0", "/sys/bus/usb/devices/1-5", "/", "1-5",
                                        mouse.directory + "/gone"}) {
    EXPECT_EQ(errorThrownBy([&] { static_cast<void>(recorder::recordPluggedDevice(other)); }),
              "there is no USB device " + other);
  }
}

TEST_F(PluggedDevice, MustStayUntilItIsRead) {
  support::HeldAttribute descriptors(mouse.directory + "/descriptors");
  const TimedAction unplug(0, [&] {
    descriptors.waitForReader();
    unit.sysfs.remove(mouse);
    descriptors.release("");
  });

  EXPECT_EQ(errorThrownBy([this] { save(); }), "there is no USB device " + mouse.directory);
  EXPECT_FALSE(fs::exists(folder));
}

TEST(PluggedDeviceOfAnotherUser, IsRecordedWhereItMayBeRead) {
  support::inChild([] {
    sim::Unit unit;
    const std::string device = unit.sysfs.add(sim::UsbDevice{});
    support::dropPrivileges();

    EXPECT_EQ(recorder::recordPluggedDevice(device).directory, device);
  });
}

TEST(PluggedDeviceOfAnotherUser, IsNotRecordedWithoutWhatMayNotBeRead) {
  support::inChild([] {
    sim::Unit unit;
    const std::string device = unit.sysfs.add(sim::UsbDevice{});
    fs::permissions(device + "/descriptors", fs::perms::none);
    support::dropPrivileges();

    EXPECT_EQ(errorThrownBy([&] { static_cast<void>(recorder::recordPluggedDevice(device)); }),
              "reading " + device + "/descriptors: Permission denied");
  });
}

}  // namespace
