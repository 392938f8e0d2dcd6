// What the recorder makes of a real kernel's devices.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kernel/guest/desk.h"
#include "tools/recorder/device_recorder.h"
#include "tools/recorder/plugged_device.h"
#include "tools/recorder/recording_input.h"
#include "tools/recorder/recording_output.h"

namespace guest {
namespace {

/** Plugs the device in and takes it out again, and reads back what was written of that. */
recorder::DeviceRecording recordingOf(const EmulatedDevice& device, const Socket& socket,
                                      const std::string& name) {
  Desk desk;
  recorder::DeviceRecorder recording({.quiet = 2, .limit = 240});
  const PluggedDevice plugged = desk.plug(device, socket);
  recording.recordPlug();
  desk.takeOut(plugged);
  recording.recordUnplug();
  recorder::writeRecording(recording.recording(), recorder::kernelRelease(), "/tmp/" + name);
  return recorder::readRecording("/tmp/" + name);
}

/** The bytes of a recorded file of the device's own directory; none where there is no such file. */
std::string contentOf(const recorder::DeviceRecording& recording, const std::string& name) {
  const std::string path = recording.directory.substr(std::string("/sys/").size()) + "/" + name;
  for (const recorder::TreeEntry& entry : recording.tree) {
    if (entry.path == path) {
      return entry.content;
    }
  }
  return {};
}

std::string headerOf(const recorder::RecordedEvent& event) {
  return event.datagram.substr(0, event.datagram.find('\0'));
}

TEST(Recording, HoldsADiskWithItsNodeAndItsEvents) {
  const recorder::DeviceRecording recording = recordingOf(disk(), highSpeedSocket(1), "disk");
  EXPECT_EQ(recording.product, "QEMU USB HARDDRIVE");
  EXPECT_EQ(recording.speed, "480");
  EXPECT_EQ(recording.nodes("sg").size(), 1U);
  EXPECT_EQ(contentOf(recording, "bDeviceClass"), "00\n");
  EXPECT_TRUE(contentOf(recording, "descriptors").starts_with("\x12\x01"));
  EXPECT_EQ(headerOf(recording.plugEvents.front()), "add@" + recording.devpath());
  EXPECT_EQ(headerOf(recording.unplugEvents.back()), "remove@" + recording.devpath());
}

TEST(Recording, HoldsAKeyboardOfFullSpeed) {
  const recorder::DeviceRecording recording = recordingOf(keyboard(), fullSpeedSocket(1), "keyboard");
  EXPECT_EQ(recording.product, "QEMU USB Keyboard");
  EXPECT_EQ(recording.speed, "12");
  EXPECT_EQ(recording.nodes("hiddev").size(), 1U);
}

/** The kinds and paths of the events that are in the recording's tree; sorted, without `bind` and `change`. */
std::vector<std::string> additionsIn(const recorder::DeviceRecording& recording,
                                     const std::vector<recorder::RecordedEvent>& events) {
  std::vector<std::string> headers;
  for (const recorder::RecordedEvent& event : events) {
    const std::string header = headerOf(event);
    const std::string start = "add@/";
    if (header.starts_with(start) && recording.entry(header.substr(start.size())) != nullptr) {
      headers.push_back(header);
    }
  }
  std::sort(headers.begin(), headers.end());
  return headers;
}

TEST(Recording, IsTheSameOfADeviceThatWasPluggedInBefore) {
  for (const EmulatedDevice& device : {disk(), keyboard()}) {
    Desk desk;
    recorder::DeviceRecorder recorder({.quiet = 2, .limit = 240});
    const PluggedDevice plugged = desk.plug(device, highSpeedSocket(1));
    recorder.recordPlug();
    const recorder::DeviceRecording& heard = recorder.recording();
    const recorder::DeviceRecording saved = recorder::recordPluggedDevice(heard.directory);
    EXPECT_EQ(saved.tree, heard.tree);
    EXPECT_EQ(saved.product, heard.product);
    EXPECT_EQ(saved.speed, heard.speed);
    EXPECT_EQ(additionsIn(saved, saved.plugEvents), additionsIn(heard, heard.plugEvents));
    EXPECT_EQ(headerOf(saved.plugEvents.front()), "add@" + heard.devpath());
    desk.takeOut(plugged);
  }
}

}  // namespace
}  // namespace guest
