#include "tools/recorder/made_up_events.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace recorder {

namespace {

namespace fs = std::filesystem;

/** A directory of the tree that a kernel announces. */
struct Announced {
  std::string path;       ///< below /sys
  std::string subsystem;  ///< its name
  std::string uevent;     ///< the content of its "uevent" file; empty where it has none
};

/** The parts of a text between newlines, without the empty ones. */
std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    if (end > begin) {
      lines.push_back(text.substr(begin, end - begin));
    }
    begin = end + 1;
  }
  return lines;
}

/** Those that belong to a subsystem; others, such as endpoints, have a "uevent" file but no events. */
std::vector<Announced> announcedIn(const DeviceRecording& recording) {
  std::vector<Announced> announced;
  for (const TreeEntry& entry : recording.tree) {
    const fs::path path = entry.path;
    if (entry.kind == TreeEntry::Kind::link && path.filename() == "subsystem" && recording.owns(entry.path)) {
      announced.push_back({path.parent_path(), fs::path(entry.content).filename(), {}});
    }
  }
  for (Announced& directory : announced) {
    const TreeEntry* uevent = recording.entry(directory.path + "/uevent");
    directory.uevent = uevent == nullptr ? "" : uevent->content;
  }
  return announced;
}

std::set<std::string> usbDevicesIn(const DeviceRecording& recording) {
  std::set<std::string> devices;
  for (const TreeEntry& entry : recording.tree) {
    const fs::path path = entry.path;
    if (path.filename() == "bDeviceClass" && recording.owns(entry.path)) {
      devices.insert(path.parent_path());
    }
  }
  return devices;
}

/** How many USB devices of the recording this path lies in, itself included. */
int depthOf(fs::path path, const std::set<std::string>& usbDevices) {
  int depth = 0;
  for (; path.has_relative_path(); path = path.parent_path()) {
    depth += usbDevices.contains(path) ? 1 : 0;
  }
  return depth;
}

/** A parent before its children; a hub and its interface before the devices behind it. */
std::vector<Announced> inOrder(std::vector<Announced> announced, const DeviceRecording& recording) {
  const std::set<std::string> devices = usbDevicesIn(recording);
  const auto key = [&](const Announced& directory) {
    return std::pair(depthOf(directory.path, devices), fs::path(directory.path));
  };
  std::sort(announced.begin(), announced.end(),
            [&](const Announced& left, const Announced& right) { return key(left) < key(right); });
  return announced;
}

/** A kernel adds a device before it looks for a driver, and removes it after the driver has left it. */
RecordedEvent eventOf(const Announced& directory, std::string_view action) {
  const std::string devpath = "/" + directory.path;
  std::vector<std::string> items = {std::string(action) + "@" + devpath, "ACTION=" + std::string(action),
                                    "DEVPATH=" + devpath, "SUBSYSTEM=" + directory.subsystem};
  for (const std::string& item : linesOf(directory.uevent)) {
    if (!item.starts_with("DRIVER=")) {
      items.push_back(item);
    }
  }
  RecordedEvent event{0, {}};
  for (const std::string& item : items) {
    event.datagram += item + '\0';
  }
  return event;
}

std::vector<RecordedEvent> eventsOf(const DeviceRecording& recording, std::string_view action) {
  std::vector<RecordedEvent> events;
  for (const Announced& directory : inOrder(announcedIn(recording), recording)) {
    events.push_back(eventOf(directory, action));
  }
  return events;
}

}  // namespace

std::vector<RecordedEvent> madeUpPlugEvents(const DeviceRecording& recording) {
  return eventsOf(recording, "add");
}

std::vector<RecordedEvent> madeUpUnplugEvents(const DeviceRecording& recording) {
  std::vector<RecordedEvent> events = eventsOf(recording, "remove");
  std::reverse(events.begin(), events.end());
  return events;
}

}  // namespace recorder
