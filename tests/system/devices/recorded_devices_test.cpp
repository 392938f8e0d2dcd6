// What the daemon makes of real devices: recordings of what a kernel announced and showed.

#include <algorithm>
#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "sim/recording_views.h"
#include "system/support/hotplug.h"
#include "system/support/same_lines.h"

namespace {

using support::Lines;

namespace debug = contract::debug;

struct Recorded {
  std::string name;
  std::string withoutClasses;  ///< what is decided of which device or node, where no class is served
  std::string withAllClasses;  ///< the same where keyboards and disks are
};

std::ostream& operator<<(std::ostream& out, const Recorded& recorded) {
  return out << recorded.name << ": " << recorded.withoutClasses
             << "; all classes: " << recorded.withAllClasses;
}

const std::vector<Recorded> table = {
    {"audio", "1-5 unsupported", "1-5 unsupported"},
    {"ccid", "1-5 generic", "1-5 generic"},
    {"hub", "1-5 hub", "1-5 hub"},
    {"hub-hub-kbd", "1-5 hub, 1-5.1 hub, 1-5.1.2 generic", "1-5 hub, 1-5.1 hub, 1-5.1.2 keyboard"},
    {"hub-mouse", "1-5 hub, 1-5.1 generic", "1-5 hub, 1-5.1 generic"},
    {"kbd-fs", "1-5 generic", "1-5 keyboard"},
    {"kbd-fs-hiddev", "1-5 generic", "1-5 keyboard"},
    {"kbd-hs", "1-5 generic", "1-5 keyboard"},
    {"kbd-hs-hiddev", "1-5 generic", "1-5 keyboard"},
    {"made-camera-hs", "1-5 unsupported", "1-5 unsupported"},
    {"made-card-disk", "1-5 generic", "1-5 generic, sg0 scsi"},
    {"made-disk-8070", "1-5 generic", "1-5 generic, sg0 scsi"},
    {"made-disk-alt", "1-5 generic", "1-5 generic, sg0 scsi"},
    {"made-disk-atapi", "1-5 generic", "1-5 storage, sg0 scsi"},
    {"made-disk-two-configs", "1-5 generic", "1-5 generic, sg0 scsi"},
    {"made-hid-vendor", "1-5 generic", "1-5 generic"},
    {"made-kbd-iad", "1-5 generic", "1-5 generic"},
    {"made-kbd-low", "1-5 generic", "1-5 keyboard"},
    {"made-kbd-mouse-hiddev", "1-5 generic", "1-5 generic"},
    {"made-kbd-noboot-hiddev", "1-5 generic", "1-5 keyboard"},
    {"made-kbd-unnamed", "1-5 generic", "1-5 keyboard"},
    {"made-long-name", "1-5 generic", "1-5 generic"},
    {"made-no-interfaces", "1-5 generic", "1-5 keyboard"},
    {"made-odd-name", "1-5 generic", "1-5 generic"},
    {"made-two-kbd-hiddev", "1-5 generic", "1-5 keyboard"},
    {"made-vendor-hs", "1-5 generic", "1-5 generic"},
    {"mouse-fs", "1-5 generic", "1-5 generic"},
    {"mouse-fs-hiddev", "1-5 generic", "1-5 generic"},
    {"mtp-hs", "1-5 generic", "1-5 generic"},
    {"net", "1-5 generic", "1-5 generic"},
    {"root-hubs", "usb1 hub, usb2 hub, usb3 hub, usb4 hub, usb5 hub",
     "usb1 hub, usb2 hub, usb3 hub, usb4 hub, usb5 hub"},
    {"serial", "1-5 generic", "1-5 generic"},
    {"storage-2lun", "1-5 generic", "1-5 storage, sg0 scsi, sg1 scsi"},
    {"storage-fs", "5-1 generic", "5-1 storage, sg0 scsi"},
    {"storage-hs", "1-5 generic", "1-5 storage, sg0 scsi"},
    {"storage-ss", "2-1 generic", "2-1 storage, sg0 scsi"},
    {"tablet-hs", "1-5 generic", "1-5 generic"},
    {"uas-hs", "1-5 generic", "1-5 generic, sg0 scsi"},
};

const std::map<std::string, std::string> words = {
    {debug::scsiGeneric, "scsi"}, {debug::hid, "hid"},
    {debug::hub, "hub"},          {debug::keyboard, "keyboard"},
    {debug::storage, "storage"},  {debug::unsupported, "unsupported"},
    {debug::generic, "generic"},  {debug::undetermined, "undetermined"}};

/** "add PATH" as the daemon says it of this event. */
std::string announcementOf(const sim::RecordedEvent& event) {
  std::string header = event.datagram.substr(0, event.datagram.find('\0'));
  header.at(header.find('@')) = ' ';
  return header;
}

Lines announcementsOf(const std::vector<sim::RecordedEvent>& events) {
  Lines announcements;
  std::transform(events.begin(), events.end(), std::back_inserter(announcements), announcementOf);
  return support::tagged(announcements);
}

/** "DEVICE DECISION, ..." from the daemon's messages. */
std::string decisionsIn(const Lines& messages) {
  const std::string tag = debug::tag;
  std::string decisions;
  std::string device;
  for (const std::string& message : messages) {
    const std::string text = message.substr(tag.size());
    if (text.starts_with("add ")) {
      device = std::filesystem::path(text).filename();
    } else if (const auto word = words.find(text); word != words.end()) {
      decisions += (decisions.empty() ? "" : ", ") + device + " " + word->second;
    }
  }
  return decisions;
}

/** The devices and nodes for which the daemon says that it starts a worker. */
std::vector<std::string> startedIn(const Lines& messages) {
  std::vector<std::string> started;
  for (const std::string& message : messages) {
    const std::size_t path = message.find(" for /sys/");
    if (message.find("starting usb_rx_") != std::string::npos && path != std::string::npos) {
      const std::size_t begin = path + std::string(" for ").size();
      started.push_back(message.substr(begin, message.find(' ', begin) - begin));
    }
  }
  return started;
}

class RecordedDevices : public support::Hotplug, public testing::WithParamInterface<Recorded> {
 protected:
  const sim::DeviceRecording recording = sim::loadRecording(GetParam().name);
};

std::string nameOf(const testing::TestParamInfo<Recorded>& instance) {
  std::string name = instance.param.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Devices, RecordedDevices, testing::ValuesIn(table), nameOf);

TEST_P(RecordedDevices, IsDecidedOfWhereNoClassIsServed) {
  start("none");
  EXPECT_EQ(decisionsIn(saidOfPlugging(recording)), GetParam().withoutClasses);
}

TEST_P(RecordedDevices, IsDecidedOfByItsEventsInOrderWhereAllClassesAreServed) {
  start("all");
  const Lines said = saidOfPlugging(recording);
  EXPECT_EQ(decisionsIn(said), GetParam().withAllClasses);
  const Lines announcements = announcementsOf(recording.plugEvents);
  Lines logged;
  std::copy_if(said.begin(), said.end(), std::back_inserter(logged), [&](const std::string& message) {
    return std::find(announcements.begin(), announcements.end(), message) != announcements.end();
  });
  EXPECT_PRED_FORMAT2(support::sameLines, logged, announcements);
}

/** All but the hubs of the machine itself, which nobody takes out. */
std::vector<Recorded> removable() {
  std::vector<Recorded> devices = table;
  std::erase_if(devices, [](const Recorded& recorded) { return recorded.name == "root-hubs"; });
  return devices;
}

class RecordedDevicesTakenOut : public RecordedDevices {};

INSTANTIATE_TEST_SUITE_P(Devices, RecordedDevicesTakenOut, testing::ValuesIn(removable()), nameOf);

TEST_P(RecordedDevicesTakenOut, AreOnlyLogged) {
  start("all");
  const Lines started = startedIn(saidOfPlugging(recording));
  EXPECT_PRED_FORMAT2(support::sameLines, during([&] { unit.unplug(recording); }),
                      announcementsOf(recording.unplugEvents));
  for (const std::string& device : started) {
    EXPECT_TRUE(unit.workers.waitForWorkerOf(device).isRunning());
  }
}

TEST_P(RecordedDevicesTakenOut, AtOnceHaveNothingDecidedOfThem) {
  start("all");
  const Lines said = during([&] {
    for (const auto* events : {&recording.plugEvents, &recording.unplugEvents}) {
      for (const sim::RecordedEvent& event : *events) {
        unit.uevents.send(event.datagram);
      }
    }
  });
  EXPECT_EQ(decisionsIn(said), "");
  EXPECT_TRUE(hasNoWorker());
}

TEST(RecordedDevicesTable, HoldsThemAll) {
  std::vector<std::string> names;
  std::transform(table.begin(), table.end(), std::back_inserter(names),
                 [](const Recorded& recorded) { return recorded.name; });
  EXPECT_PRED_FORMAT2(support::sameLines, names, sim::recordingNames());
}

/** The same devices as older kernels show them: their hiddev nodes belong to the subsystem "usb". */
class RecordedDevicesOfOlderKernels : public RecordedDevices {};

INSTANTIATE_TEST_SUITE_P(
    Devices, RecordedDevicesOfOlderKernels,
    testing::Values(Recorded{"kbd-fs-hiddev", "", "1-5 keyboard, hiddev0 hid"},
                    Recorded{"kbd-hs-hiddev", "", "1-5 keyboard, hiddev0 hid"},
                    Recorded{"made-kbd-mouse-hiddev", "", "1-5 generic, hiddev0 hid, hiddev1 hid"},
                    Recorded{"made-kbd-noboot-hiddev", "", "1-5 keyboard, hiddev0 hid"},
                    Recorded{"made-two-kbd-hiddev", "", "1-5 keyboard, hiddev0 hid, hiddev1 hid"},
                    Recorded{"mouse-fs-hiddev", "", "1-5 generic, hiddev0 hid"}));

TEST_P(RecordedDevicesOfOlderKernels, IsTakenForAHidDevice) {
  start("all");
  const sim::DeviceRecording older = sim::withClassUsbHiddev(recording);
  const Lines said = saidOfPlugging(older);
  EXPECT_EQ(decisionsIn(said), GetParam().withAllClasses);
  for (const std::string& node : older.nodes("hiddev")) {
    const std::vector<std::string> started = startedIn(said);
    EXPECT_NE(std::find(started.begin(), started.end(), node), started.end()) << node;
  }
}

}  // namespace
