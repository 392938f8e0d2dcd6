#include "tools/recorder/device_recording.h"

#include <algorithm>
#include <filesystem>

namespace recorder {

namespace {

namespace fs = std::filesystem;

/** Whether a node's name is the prefix and a number. */
bool isNumbered(const std::string& name, const std::string& prefix) {
  return name.size() > prefix.size() && name.starts_with(prefix) &&
         name.find_first_not_of("0123456789", prefix.size()) == std::string::npos;
}

}  // namespace

std::string DeviceRecording::devpath() const {
  return directory.empty() ? "" : directory.substr(sizeof("/sys") - 1);
}

std::vector<std::string> DeviceRecording::nodes(const std::string& prefix) const {
  std::vector<std::string> found;
  for (const TreeEntry& node : tree) {
    if (node.kind == TreeEntry::Kind::directory && isNumbered(fs::path(node.path).filename(), prefix) &&
        owns(node.path)) {
      found.push_back("/sys/" + node.path);
    }
  }
  return found;
}

const TreeEntry* DeviceRecording::entry(const std::string& path) const {
  const auto found = std::find_if(tree.begin(), tree.end(),
                                  [&](const TreeEntry& candidate) { return candidate.path == path; });
  return found == tree.end() ? nullptr : &*found;
}

bool DeviceRecording::owns(const std::string& path) const {
  return !directory.empty() && ("/sys/" + path + "/").starts_with(directory + "/");
}

}  // namespace recorder
