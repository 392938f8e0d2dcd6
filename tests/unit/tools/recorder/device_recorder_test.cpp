#include "tools/recorder/device_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "sim/error.h"
#include "sim/unit.h"
#include "sim/wait.h"
#include "unit/tools/recorder/thrown_text.h"
#include "unit/tools/recorder/timed_action.h"

namespace {

constexpr sim::RecorderPatience patience = {.quiet = 0.02, .limit = 10};
constexpr sim::RecorderPatience hasty = {.quiet = 0.02, .limit = 2};

std::vector<std::string> datagramsOf(const std::vector<sim::RecordedEvent>& events) {
  std::vector<std::string> datagrams;
  std::transform(events.begin(), events.end(), std::back_inserter(datagrams),
                 [](const sim::RecordedEvent& event) { return event.datagram; });
  return datagrams;
}

class Recorder : public testing::Test {
 protected:
  sim::Unit unit;
  sim::DeviceRecording mouse = sim::loadRecording("mouse-fs");
  sim::DeviceRecorder recorder{patience};

  std::vector<std::string> plugged() {
    recorder.recordPlug();
    return datagramsOf(recorder.recording().plugEvents);
  }
  std::vector<std::string> unplugged() {
    recorder.recordUnplug();
    return datagramsOf(recorder.recording().unplugEvents);
  }
};

TEST_F(Recorder, BeginsWithTheDeviceWhateverHappenedBefore) {
  unit.uevents.send(sim::uevent("change", "/devices/battery", {{"SUBSYSTEM", "power_supply"}}));
  unit.uevents.add("/devices/card", {{"SUBSYSTEM", "usb"}, {"DEVTYPE", "usb_interface"}});
  unit.uevents.send(sim::uevent("change", "/devices/usb1/1-7", {{"DEVTYPE", "usb_device"}}));
  unit.plug(mouse);

  EXPECT_EQ(plugged(), datagramsOf(mouse.plugEvents));
  EXPECT_EQ(recorder.recording().directory, mouse.directory);
}

TEST_F(Recorder, TakesTheOutermostOfSeveralNewDevices) {
  const sim::DeviceRecording hub = sim::loadRecording("hub-hub-kbd");
  unit.plug(hub);
  recorder.recordPlug();

  EXPECT_EQ(recorder.recording().directory, hub.directory);
  EXPECT_EQ(recorder.recording().product, hub.product);
}

TEST_F(Recorder, TellsHowManyMillisecondsAfterTheFirstAnEventCame) {
  constexpr int pause = 30;
  unit.sysfs.layOut(mouse);
  unit.uevents.send(mouse.plugEvents[0].datagram);
  sim::serveBackground();
  static_cast<void>(sim::waitReadable(-1, sim::Deadline(pause / 1000.0)));
  unit.uevents.send(mouse.plugEvents[1].datagram);
  recorder.recordPlug();

  const std::vector<sim::RecordedEvent>& events = recorder.recording().plugEvents;
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].milliseconds, 0);
  EXPECT_GE(events[1].milliseconds, pause);
}

TEST_F(Recorder, WaitsForEventsThatComeLate) {
  sim::DeviceRecorder patient({.quiet = 2, .limit = 10});
  unit.sysfs.layOut(mouse);
  unit.uevents.send(mouse.plugEvents[0].datagram);
  const TimedAction late(0.2, [&] { unit.uevents.send(mouse.plugEvents[1].datagram); });
  patient.recordPlug();

  EXPECT_EQ(patient.recording().plugEvents.size(), 2U);
}

TEST_F(Recorder, DropsWhatTheDeviceAnnouncesByItselfBeforeItIsTakenOut) {
  unit.plug(mouse);
  recorder.recordPlug();
  unit.uevents.send(sim::uevent("change", mouse.devpath(), {{"DISK_MEDIA_CHANGE", "1"}}));
  const TimedAction later(2, [&] { unit.unplug(mouse); });

  EXPECT_EQ(unplugged(), datagramsOf(mouse.unplugEvents));
}

TEST_F(Recorder, BeginsTheUnplugWithTheDevice) {
  unit.plug(mouse);
  recorder.recordPlug();
  unit.uevents.send(sim::uevent("change", "/devices/battery"));
  unit.uevents.send(sim::uevent("change", mouse.devpath() + "0"));
  unit.unplug(mouse);

  EXPECT_EQ(unplugged(), datagramsOf(mouse.unplugEvents));
}

TEST_F(Recorder, CanRecordOneDeviceAfterAnother) {
  const sim::DeviceRecording disk = sim::loadRecording("storage-ss");
  for (const sim::DeviceRecording& device : {mouse, disk}) {
    unit.plug(device);
    EXPECT_EQ(plugged(), datagramsOf(device.plugEvents));
    EXPECT_TRUE(recorder.recording().unplugEvents.empty());
    unit.unplug(device);
    EXPECT_EQ(unplugged(), datagramsOf(device.unplugEvents));
    EXPECT_EQ(recorder.recording().speed, device.speed);
  }
}

TEST_F(Recorder, LeavesSerialNumbersOutOfEvents) {
  unit.sysfs.layOut(mouse);
  const sim::UeventPairs device = {{"DEVTYPE", "usb_device"}};
  unit.uevents.add(mouse.devpath(), device);
  unit.uevents.add("/hid", {{"HID_NAME", "Mouse"}, {"HID_UNIQ", "S3CR3T"}, {"MODALIAS", "hid:b"}});
  unit.uevents.add("/input", {{"UNIQ", "\"S3CR3T\""}, {"PROP", "0"}});
  unit.uevents.add("/battery", {{"POWER_SUPPLY_SERIAL_NUMBER", "S3CR3T"}});

  const std::vector<std::string> expected = {
      sim::uevent("add", mouse.devpath(), device),
      sim::uevent("add", "/hid", {{"HID_NAME", "Mouse"}, {"HID_UNIQ", ""}, {"MODALIAS", "hid:b"}}),
      sim::uevent("add", "/input", {{"UNIQ", "\"\""}, {"PROP", "0"}}),
      sim::uevent("add", "/battery", {{"POWER_SUPPLY_SERIAL_NUMBER", ""}})};
  EXPECT_EQ(plugged(), expected);
}

TEST_F(Recorder, FailsWhenTheDeviceIsTakenOutTooEarly) {
  unit.plug(mouse);
  unit.unplug(mouse);

  EXPECT_EQ(errorThrownBy([&] { recorder.recordPlug(); }),
            "the device was taken out before everything was quiet: " + mouse.devpath());
}

TEST_F(Recorder, FailsWhenTheDeviceIsGoneBeforeItsEventsSaySo) {
  unit.plug(mouse);
  unit.sysfs.remove(mouse);

  EXPECT_EQ(errorThrownBy([&] { recorder.recordPlug(); }),
            "the device is not there any more: " + mouse.directory);
}

TEST_F(Recorder, FailsWhenEventsWereLost) {
  const std::string huge = sim::uevent("add", "/" + std::string(60000, 'x'));
  while (sim::UeventSender::listeners().front().lost == 0) {
    unit.uevents.send(huge);
  }

  EXPECT_EQ(errorThrownBy([&] { recorder.recordPlug(); }),
            "uevents were lost: there were more than could be taken");
}

TEST_F(Recorder, GivesUpWhenNoDeviceComes) {
  sim::DeviceRecorder impatient(hasty);

  EXPECT_THROW(impatient.recordPlug(), sim::TimedOut);
}

TEST_F(Recorder, GivesUpWhenTheDeviceStays) {
  sim::DeviceRecorder impatient(hasty);
  unit.plug(mouse);
  impatient.recordPlug();

  EXPECT_THROW(impatient.recordUnplug(), sim::TimedOut);
}

TEST_F(Recorder, GivesUpWhenItNeverGetsQuiet) {
  sim::DeviceRecorder impatient({.quiet = 0.5, .limit = 1});
  unit.plug(mouse);
  const RepeatedAction restless(0.01, [&] { unit.uevents.send(sim::uevent("change", "/battery")); });

  EXPECT_THROW(impatient.recordPlug(), sim::TimedOut);
}

TEST_F(Recorder, HasNothingToTakeOutBeforeAPlug) {
  EXPECT_EQ(errorThrownBy([&] { recorder.recordUnplug(); }),
            "no device has been recorded that could be taken out");
}

}  // namespace
