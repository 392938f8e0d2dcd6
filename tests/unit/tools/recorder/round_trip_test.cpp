// A device that comes out of a recording is recorded as what it was.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "sim/device_recording.h"
#include "sim/files.h"
#include "sim/recording_text.h"
#include "sim/unit.h"
#include "support/temporary_directory.h"
#include "tools/recorder/device_recorder.h"
#include "tools/recorder/recording_output.h"

namespace {

namespace fs = std::filesystem;

using Texts = std::map<std::string, std::string>;

constexpr sim::RecorderPatience patience = {.quiet = 0.02, .limit = 10};

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
  sim::DeviceRecorder recorder(patience);
  unit.plug(device);
  recorder.recordPlug();
  unit.unplug(device);
  recorder.recordUnplug();
  return recorder.recording();
}

/** The recording of this name in another folder than the usual one. */
sim::DeviceRecording loadedFrom(const std::string& devices, const std::string& name) {
  const std::string usual = sim::recordingsFolder();
  ::setenv("SIM_DEVICES", devices.c_str(), 1);
  sim::DeviceRecording recording = sim::loadRecording(name);
  ::setenv("SIM_DEVICES", usual.c_str(), 1);
  return recording;
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

/** What is told of a device, but for the port of the emulator that some were plugged into. */
Texts aboutIn(const std::string& folder) {
  Texts about = sim::readAbout(folder + "/about.txt");
  about.erase("port");
  return about;
}

class DeviceRecordedAnew : public testing::TestWithParam<std::string> {};

TEST_P(DeviceRecordedAnew, IsAsItWasRecordedBefore) {
  const std::string oldFolder = fs::path(sim::recordingsFolder()) / GetParam();
  const sim::DeviceRecording old = sim::loadRecording(GetParam());
  const support::TemporaryDirectory devices;
  const std::string newFolder = devices / GetParam();

  sim::DeviceRecording recorded = recordedInUnit(old);
  recorded.description = old.description;
  sim::writeRecording(recorded, aboutIn(oldFolder)["kernel"], newFolder);

  EXPECT_EQ(sim::readFile(newFolder + "/tree.txt"), sim::readFile(oldFolder + "/tree.txt"));
  EXPECT_EQ(aboutIn(newFolder), aboutIn(oldFolder));
  const sim::DeviceRecording loaded = loadedFrom(devices.path(), GetParam());
  EXPECT_EQ(itemsOf(loaded.plugEvents), itemsOf(old.plugEvents));
  EXPECT_EQ(itemsOf(loaded.unplugEvents), itemsOf(old.unplugEvents));
}

INSTANTIATE_TEST_SUITE_P(Devices, DeviceRecordedAnew, testing::ValuesIn(namesOfRemovableDevices()), testName);

}  // namespace
