// A device of a recording is plugged into the unit and recorded again: nothing of it changes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "sim/device_recording.h"
#include "sim/files.h"
#include "sim/unit.h"
#include "support/temporary_directory.h"
#include "tools/recorder/device_recorder.h"
#include "tools/recorder/recording_input.h"
#include "tools/recorder/recording_output.h"
#include "tools/recorder/recording_text.h"

namespace {

namespace fs = std::filesystem;

using Texts = std::map<std::string, std::string>;

std::vector<std::string> namesOfRemovableDevices() {
  std::vector<std::string> names;
  for (const std::string& name : sim::recordingNames()) {
    if (!sim::loadRecording(name).unplugEvents.empty()) {
      names.push_back(name);
    }
  }
  return names;
}

std::string testName(const testing::TestParamInfo<std::string>& device) {
  std::string name = device.param;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

sim::DeviceRecording recordedInUnit(const sim::DeviceRecording& device) {
  sim::Unit unit;
  recorder::DeviceRecorder recording({.quiet = 0.02, .limit = 10});
  unit.plug(device);
  recording.recordPlug();
  unit.unplug(device);
  recording.recordUnplug();
  return recording.recording();
}

/** The events one after another, one item a line: times are different every time. */
std::string itemsOf(const std::vector<sim::RecordedEvent>& events) {
  std::string items;
  for (const sim::RecordedEvent& event : events) {
    items += event.datagram + '\0';
  }
  std::replace(items.begin(), items.end(), '\0', '\n');
  return items;
}

/** The facts of about.txt, except the port of the emulator that some devices were plugged into. */
Texts aboutIn(const std::string& folder) {
  Texts about = recorder::readAbout(folder + "/about.txt");
  about.erase("port");
  return about;
}

class DeviceRecorderRoundTrip : public testing::TestWithParam<std::string> {};

TEST_P(DeviceRecorderRoundTrip, KeepsADeviceOfARecordingAsItWas) {
  const std::string oldFolder = fs::path(sim::recordingsFolder()) / GetParam();
  const sim::DeviceRecording old = sim::loadRecording(GetParam());
  const support::TemporaryDirectory devices;
  const std::string newFolder = devices / GetParam();

  sim::DeviceRecording recorded = recordedInUnit(old);
  recorded.description = old.description;
  recorder::writeRecording(recorded, aboutIn(oldFolder)["kernel"], newFolder);

  EXPECT_EQ(sim::readFile(newFolder + "/tree.txt"), sim::readFile(oldFolder + "/tree.txt"));
  EXPECT_EQ(aboutIn(newFolder), aboutIn(oldFolder));
  const sim::DeviceRecording loaded = recorder::readRecording(newFolder);
  EXPECT_EQ(itemsOf(loaded.plugEvents), itemsOf(old.plugEvents));
  EXPECT_EQ(itemsOf(loaded.unplugEvents), itemsOf(old.unplugEvents));
}

INSTANTIATE_TEST_SUITE_P(Devices, DeviceRecorderRoundTrip, testing::ValuesIn(namesOfRemovableDevices()),
                         testName);

}  // namespace
