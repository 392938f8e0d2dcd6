#include "tools/recorder/device_recording.h"

#include <filesystem>
#include <map>

#include "tools/recorder/error.h"
#include "tools/recorder/recording_text.h"

namespace recorder {

namespace {

namespace fs = std::filesystem;

/** Whether a node's name is the prefix and a number. */
bool isNumbered(const std::string& name, const std::string& prefix) {
  return name.size() > prefix.size() && name.starts_with(prefix) &&
         name.find_first_not_of("0123456789", prefix.size()) == std::string::npos;
}

std::vector<RecordedEvent> eventsIfRecorded(const fs::path& file) {
  return fs::exists(file) ? readEvents(file) : std::vector<RecordedEvent>{};
}

}  // namespace

DeviceRecording readRecording(const std::string& folder) {
  const fs::path place = folder;
  if (!fs::is_directory(place)) {
    throw Error("there is no recorded device " + folder);
  }
  std::map<std::string, std::string> about = readAbout(place / "about.txt");
  return {place.filename(),
          about["description"],
          about["device directory"],
          about["product"],
          about["speed"],
          readTree(place / "tree.txt"),
          readEvents(place / "plug.txt"),
          eventsIfRecorded(place / "unplug.txt")};
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

}  // namespace recorder
