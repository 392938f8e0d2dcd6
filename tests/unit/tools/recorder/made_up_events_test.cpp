// Events made up from a tree, compared with those that a kernel sent when it was plugged in.

#include "tools/recorder/made_up_events.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "sim/device_recording.h"
#include "sim/recording_views.h"
#include "sim/uevent.h"

namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::string>;

/** The items of an event as lines, without the number that the kernel counts its events by. */
std::string itemsOf(const sim::RecordedEvent& event) {
  std::string items = event.datagram.substr(0, event.datagram.find("SEQNUM="));
  std::replace(items.begin(), items.end(), '\0', '\n');
  return items;
}

std::string pathOf(const sim::RecordedEvent& event) {
  return sim::headOf(event.datagram).second.substr(1);
}

/** A kernel names the driver in an "add" event only where another interface's driver has claimed this one. */
std::string withoutDriver(std::string items) {
  const std::size_t begin = items.find("\nDRIVER=");
  return begin == std::string::npos ? items : items.erase(begin, items.find('\n', begin + 1) - begin);
}

/** What the kernel said with this action of what is in the tree; sorted. */
Texts heardOf(const sim::DeviceRecording& recording, const std::vector<sim::RecordedEvent>& events,
              const std::string& action) {
  Texts texts;
  for (const sim::RecordedEvent& event : events) {
    if (sim::headOf(event.datagram).first == action && recording.entry(pathOf(event)) != nullptr) {
      texts.push_back(withoutDriver(itemsOf(event)));
    }
  }
  std::sort(texts.begin(), texts.end());
  return texts;
}

Texts itemsOfAll(const std::vector<sim::RecordedEvent>& events) {
  Texts texts;
  std::transform(events.begin(), events.end(), std::back_inserter(texts), itemsOf);
  std::sort(texts.begin(), texts.end());
  return texts;
}

Texts pathsOf(const std::vector<sim::RecordedEvent>& events) {
  Texts paths;
  std::transform(events.begin(), events.end(), std::back_inserter(paths), pathOf);
  return paths;
}

/** The names of the USB devices, interfaces, and nodes of workers, in the order of their events. */
Texts namesThatMatter(const std::vector<sim::RecordedEvent>& events) {
  Texts names;
  for (const sim::RecordedEvent& event : events) {
    const std::string name = fs::path(pathOf(event)).filename();
    const bool isAdded = sim::headOf(event.datagram).first == "add";
    const bool isOfUsb = event.datagram.find("DEVTYPE=usb_") != std::string::npos;
    if (isAdded && (isOfUsb || name.starts_with("hiddev") || name.starts_with("sg"))) {
      names.push_back(name);
    }
  }
  return names;
}

class MadeUpEventsOfADevice : public testing::TestWithParam<std::string> {
 protected:
  const sim::DeviceRecording recording = sim::loadRecording(GetParam());
};

Texts namesOfSingleDevices() {
  Texts names = sim::recordingNames();
  std::erase(names, "root-hubs");
  return names;
}

INSTANTIATE_TEST_SUITE_P(Devices, MadeUpEventsOfADevice, testing::ValuesIn(namesOfSingleDevices()),
                         [](const testing::TestParamInfo<std::string>& device) {
                           std::string name = device.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

TEST_P(MadeUpEventsOfADevice, HoldWhatTheKernelSaidOfItsPlug) {
  EXPECT_EQ(itemsOfAll(recorder::madeUpPlugEvents(recording)),
            heardOf(recording, recording.plugEvents, "add"));
}

TEST_P(MadeUpEventsOfADevice, HoldWhatTheKernelSaidWhenItWasTakenOut) {
  EXPECT_EQ(itemsOfAll(recorder::madeUpUnplugEvents(recording)),
            heardOf(recording, recording.unplugEvents, "remove"));
}

TEST_P(MadeUpEventsOfADevice, ComeInTheOrderOfTheKernelWhereItMatters) {
  EXPECT_EQ(namesThatMatter(recorder::madeUpPlugEvents(recording)), namesThatMatter(recording.plugEvents));
}

TEST_P(MadeUpEventsOfADevice, AnnounceAParentBeforeItsChildren) {
  Texts seen;
  for (const std::string& path : pathsOf(recorder::madeUpPlugEvents(recording))) {
    EXPECT_TRUE(std::none_of(seen.begin(), seen.end(), [&](const std::string& earlier) {
      return earlier.starts_with(path + "/");
    })) << path;
    seen.push_back(path);
  }
}

TEST_P(MadeUpEventsOfADevice, TakeOutInTheOppositeOrder) {
  Texts added = pathsOf(recorder::madeUpPlugEvents(recording));
  std::reverse(added.begin(), added.end());

  EXPECT_EQ(pathsOf(recorder::madeUpUnplugEvents(recording)), added);
}

TEST(MadeUpEvents, AnnounceANodeThatHasNoUeventFile) {
  const sim::DeviceRecording keyboard = sim::withClassUsbHiddev(sim::loadRecording("kbd-fs-hiddev"));
  const std::string node = keyboard.nodes("hiddev").front().substr(std::string("/sys").size());
  const Texts events = itemsOfAll(recorder::madeUpPlugEvents(keyboard));

  EXPECT_NE(std::find(events.begin(), events.end(),
                      "add@" + node + "\nACTION=add\nDEVPATH=" + node + "\nSUBSYSTEM=usb\n"),
            events.end());
}

}  // namespace
