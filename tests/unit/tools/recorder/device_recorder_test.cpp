#include "tools/recorder/device_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "unit/tools/recorder/thrown_text.h"
#include "unit/tools/recorder/timed_action.h"

namespace {

using Datagrams = std::vector<std::string>;

Datagrams datagramsOf(const std::vector<recorder::RecordedEvent>& events) {
  Datagrams datagrams;
  std::transform(events.begin(), events.end(), std::back_inserter(datagrams),
                 [](const recorder::RecordedEvent& event) { return event.datagram; });
  return datagrams;
}

class DeviceRecorder : public testing::Test {
 protected:
  sim::Unit unit;
  sim::DeviceRecording mouse = sim::loadRecording("mouse-fs");
  recorder::DeviceRecorder recording{{.quiet = 0.02, .limit = 10}};
  recorder::DeviceRecorder hasty{{.quiet = 0.02, .limit = 1}};
  recorder::DeviceRecorder patient{{.quiet = 2, .limit = 10}};

  Datagrams plugged() {
    recording.recordPlug();
    return datagramsOf(recording.recording().plugEvents);
  }
  Datagrams unplugged() {
    recording.recordUnplug();
    return datagramsOf(recording.recording().unplugEvents);
  }
};

TEST_F(DeviceRecorder, BeginsWithTheDeviceWhateverHappenedBefore) {
  unit.uevents.send(sim::uevent("change", "/devices/battery", {{"SUBSYSTEM", "power_supply"}}));
  unit.uevents.add("/devices/card", {{"SUBSYSTEM", "usb"}, {"DEVTYPE", "usb_interface"}});
  unit.uevents.send(sim::uevent("change", "/devices/usb1/1-7", {{"DEVTYPE", "usb_device"}}));
  unit.plug(mouse);

  EXPECT_EQ(plugged(), datagramsOf(mouse.plugEvents));
  EXPECT_EQ(recording.recording().directory, mouse.directory);
}

TEST_F(DeviceRecorder, RecordsTheOutermostOfSeveralNewDevices) {
  const sim::DeviceRecording hub = sim::loadRecording("hub-hub-kbd");
  unit.plug(hub);
  recording.recordPlug();

  EXPECT_EQ(recording.recording().directory, hub.directory);
  EXPECT_EQ(recording.recording().product, hub.product);
}

TEST_F(DeviceRecorder, WaitsForLateEventsAndRecordsTheirTimeInMilliseconds) {
  unit.sysfs.layOut(mouse);
  unit.uevents.send(mouse.plugEvents[0].datagram);
  const TimedAction late(0.2, [this] { unit.uevents.send(mouse.plugEvents[1].datagram); });
  patient.recordPlug();

  const std::vector<recorder::RecordedEvent>& events = patient.recording().plugEvents;
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].milliseconds, 0);
  EXPECT_GE(events[1].milliseconds, 100);
  EXPECT_LT(events[1].milliseconds, 10'000);
}

TEST_F(DeviceRecorder, DropsEventsOfTheDeviceBeforeItIsTakenOut) {
  unit.plug(mouse);
  recording.recordPlug();
  unit.uevents.send(sim::uevent("change", mouse.devpath(), {{"DISK_MEDIA_CHANGE", "1"}}));
  const TimedAction later(2, [this] { unit.unplug(mouse); });

  EXPECT_EQ(unplugged(), datagramsOf(mouse.unplugEvents));
}

TEST_F(DeviceRecorder, BeginsTheUnplugWithTheDevice) {
  unit.plug(mouse);
  recording.recordPlug();
  unit.uevents.send(sim::uevent("change", "/devices/battery"));
  unit.uevents.send(sim::uevent("change", mouse.devpath() + "0"));
  unit.unplug(mouse);

  EXPECT_EQ(unplugged(), datagramsOf(mouse.unplugEvents));
}

TEST_F(DeviceRecorder, RecordsOneDeviceAfterAnother) {
  const sim::DeviceRecording disk = sim::loadRecording("storage-ss");
  for (const sim::DeviceRecording& device : {mouse, disk}) {
    unit.plug(device);
    EXPECT_EQ(plugged(), datagramsOf(device.plugEvents));
    EXPECT_TRUE(recording.recording().unplugEvents.empty());
    unit.unplug(device);
    EXPECT_EQ(unplugged(), datagramsOf(device.unplugEvents));
    EXPECT_EQ(recording.recording().speed, device.speed);
  }
}

TEST_F(DeviceRecorder, LeavesSerialNumbersOutOfEvents) {
  unit.sysfs.layOut(mouse);
  const sim::UeventPairs device = {{"DEVTYPE", "usb_device"}};
  unit.uevents.add(mouse.devpath(), device);
  unit.uevents.add("/hid", {{"HID_NAME", "Mouse"}, {"HID_UNIQ", "S3CR3T"}, {"MODALIAS", "hid:b"}});
  unit.uevents.add("/input", {{"UNIQ", "\"S3CR3T\""}, {"PROP", "0"}});
  unit.uevents.add("/battery", {{"POWER_SUPPLY_SERIAL_NUMBER", "S3CR3T"}});

  const Datagrams expected = {
      sim::uevent("add", mouse.devpath(), device),
      sim::uevent("add", "/hid", {{"HID_NAME", "Mouse"}, {"HID_UNIQ", ""}, {"MODALIAS", "hid:b"}}),
      sim::uevent("add", "/input", {{"UNIQ", "\"\""}, {"PROP", "0"}}),
      sim::uevent("add", "/battery", {{"POWER_SUPPLY_SERIAL_NUMBER", ""}})};
  EXPECT_EQ(plugged(), expected);
}

TEST_F(DeviceRecorder, LeavesOutBatteriesWhichMayBeNamedAfterASerialNumber) {
  unit.sysfs.layOut(mouse);
  const sim::UeventPairs device = {{"DEVTYPE", "usb_device"}};
  unit.uevents.add(mouse.devpath(), device);
  unit.uevents.add(mouse.devpath() + "/hid/power_supply/hid-S3CR3T-battery",
                   {{"POWER_SUPPLY_NAME", "hid-S3CR3T-battery"}});

  EXPECT_EQ(plugged(), Datagrams{sim::uevent("add", mouse.devpath(), device)});
}

TEST_F(DeviceRecorder, FailsWhenTheDeviceIsTakenOutTooEarly) {
  unit.plug(mouse);
  unit.unplug(mouse);

  EXPECT_EQ(errorThrownBy([this] { recording.recordPlug(); }),
            "the device was taken out before everything was quiet: " + mouse.devpath());
}

TEST_F(DeviceRecorder, FailsWhenTheDeviceIsGoneBeforeItsEventsSaySo) {
  unit.plug(mouse);
  unit.sysfs.remove(mouse);

  EXPECT_EQ(errorThrownBy([this] { recording.recordPlug(); }),
            "the device is not there any more: " + mouse.directory);
}

TEST_F(DeviceRecorder, FailsWhenEventsWereLost) {
  const std::string huge = sim::uevent("add", std::string("/").append(60000, 'x'));
  while (sim::UeventSender::listeners().front().lost == 0) {
    unit.uevents.send(huge);
  }

  EXPECT_EQ(errorThrownBy([this] { recording.recordPlug(); }),
            "uevents were lost: there were more than could be taken");
}

TEST_F(DeviceRecorder, GivesUpWhenNoDeviceComes) {
  EXPECT_EQ(errorThrownBy([this] { hasty.recordPlug(); }),
            "waited in vain for a USB device that is plugged in\n");
}

TEST_F(DeviceRecorder, GivesUpWhenTheDeviceStays) {
  unit.plug(mouse);
  hasty.recordPlug();

  EXPECT_EQ(errorThrownBy([this] { hasty.recordUnplug(); }),
            "waited in vain for the device's being taken out: " + mouse.devpath() + "\n");
}

TEST_F(DeviceRecorder, GivesUpWhenItNeverGetsQuiet) {
  recorder::DeviceRecorder impatient({.quiet = 0.5, .limit = 1});
  unit.plug(mouse);
  const RepeatedAction restless(0.01, [this] { unit.uevents.send(sim::uevent("change", "/battery")); });

  EXPECT_EQ(errorThrownBy([&] { impatient.recordPlug(); }), "waited in vain for an end of the events\n");
}

TEST_F(DeviceRecorder, HasNothingToTakeOutBeforeAPlug) {
  EXPECT_EQ(errorThrownBy([this] { recording.recordUnplug(); }),
            "no device has been recorded that could be taken out");
}

}  // namespace
