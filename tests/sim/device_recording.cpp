#include "sim/device_recording.h"

#include <algorithm>
#include <cstdlib>

#include "sim/error.h"
#include "sim/files.h"
#include "sim/recording_text.h"

namespace sim {

namespace {

namespace fs = std::filesystem;

/** Whether a node is named so: the prefix and a number. */
bool isNumbered(const std::string& name, const std::string& prefix) {
  return name.size() > prefix.size() && name.starts_with(prefix) &&
         name.find_first_not_of("0123456789", prefix.size()) == std::string::npos;
}

std::vector<RecordedEvent> eventsIfRecorded(const fs::path& file) {
  return fs::exists(file) ? readEvents(file) : std::vector<RecordedEvent>{};
}

}  // namespace

DeviceRecording loadRecording(const std::string& name) {
  const fs::path place = fs::path(recordingsFolder()) / name;
  if (!fs::is_directory(place)) {
    throw Error("there is no recorded device " + place.string());
  }
  std::map<std::string, std::string> about = readAbout(place / "about.txt");
  return {name,
          about["description"],
          about["device directory"],
          about["product"],
          about["speed"],
          readTree(place / "tree.txt"),
          readEvents(place / "plug.txt"),
          eventsIfRecorded(place / "unplug.txt")};
}

std::vector<std::string> recordingNames() {
  std::vector<std::string> all;
  for (const fs::path& entry : entriesOf(recordingsFolder())) {
    if (fs::exists(entry / "tree.txt")) {
      all.push_back(entry.filename());
    }
  }
  std::sort(all.begin(), all.end());
  return all;
}

std::string recordingsFolder() {
  const char* fromEnvironment = std::getenv("SIM_DEVICES");
  return fromEnvironment != nullptr ? fromEnvironment : SIM_DEVICES_FOLDER;
}

std::string DeviceRecording::devpath() const {
  return directory.empty() ? "" : directory.substr(sizeof("/sys") - 1);
}

std::vector<std::string> DeviceRecording::nodes(const std::string& prefix) const {
  std::vector<std::string> found;
  for (const TreeEntry& entry : tree) {
    if (entry.kind == TreeEntry::Kind::directory && isNumbered(fs::path(entry.path).filename(), prefix) &&
        owns(entry.path)) {
      found.push_back("/sys/" + entry.path);
    }
  }
  return found;
}

bool DeviceRecording::owns(const std::string& path) const {
  return !directory.empty() && ("/sys/" + path + "/").starts_with(directory + "/");
}

}  // namespace sim
