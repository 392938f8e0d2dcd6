#include "tools/recorder/recording_input.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tools/recorder/error.h"
#include "tools/recorder/made_up_events.h"
#include "tools/recorder/recording_text.h"
#include "tools/recorder/short_recording.h"

namespace recorder {

namespace {

namespace fs = std::filesystem;

std::string withoutSlashes(std::string path) {
  while (path.ends_with('/')) {
    path.pop_back();
  }
  return path;
}

/** The recording by its two files that cannot be missing. */
DeviceRecording readDescriptionAndTree(const fs::path& folder) {
  std::map<std::string, std::string> about = readAbout(folder / "about.txt");
  DeviceRecording recording;
  recording.name = folder.filename();
  recording.description = about["description"];
  recording.directory = withoutSlashes(about["device directory"]);
  recording.product = about["product"];
  recording.speed = about["speed"];
  recording.origin = about["origin"];
  recording.tree = readTree(folder / "tree.txt");
  return recording;
}

std::vector<RecordedEvent> plugEventsOf(const DeviceRecording& recording, const fs::path& file) {
  if (fs::exists(file)) {
    return readEvents(file);
  }
  if (recording.directory.empty()) {
    throw Error(recording.name + ": about.txt has no \"device directory: /sys/devices/...\"");
  }
  return madeUpPlugEvents(recording);
}

}  // namespace

DeviceRecording readRecording(const std::string& folder) {
  const fs::path place = folder;
  if (!fs::is_directory(place)) {
    throw Error("there is no recorded device " + folder);
  }
  DeviceRecording recording = readDescriptionAndTree(place);
  if (isShort(recording)) {
    completeShort(recording);
  }
  recording.plugEvents = plugEventsOf(recording, place / "plug.txt");
  if (fs::exists(place / "unplug.txt")) {
    recording.unplugEvents = readEvents(place / "unplug.txt");
  }
  return recording;
}

}  // namespace recorder
