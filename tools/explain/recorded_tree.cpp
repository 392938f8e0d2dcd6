#include "tools/explain/recorded_tree.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <utility>

#include "ulx/exceptions.h"

namespace explain {

namespace {

namespace fs = std::filesystem;
using recorder::TreeEntry;

// Below `directory`; every path in a recording is absolute here and without "..".
bool isBelow(const std::string& path, const std::string& directory) {
  return path.size() > directory.size() && path.starts_with(directory) && path[directory.size()] == '/';
}

// A device or a node of the recording. It fails in the words of the system calls that a unit makes.
class RecordedDevice : public DeviceAttributes {
 public:
  RecordedDevice(const RecordedTree& tree, std::string path)
      : DeviceAttributes(std::move(path)), tree_(tree) {}

  [[nodiscard]] std::string subsystem() const override {
    const TreeEntry* link = tree_.findUnresolved(path() + "/subsystem");
    if (link == nullptr) {
      return {};
    }
    if (link->kind != TreeEntry::Kind::link) {
      errno = EINVAL;
      ulx::throwErrno("readlink()", EINVAL);
    }
    return link->content.substr(link->content.rfind('/') + 1);
  }

  [[nodiscard]] bool has(const std::string& name) const override {
    return tree_.find(path() + "/" + name) != nullptr;
  }

  [[nodiscard]] std::string content(const std::string& name) const override {
    const std::string file = path() + "/" + name;
    const TreeEntry* entry = tree_.find(file);
    if (entry == nullptr) {
      errno = ENOENT;
      ulx::throwErrno({"open(\"", file, "\")"}, ENOENT);
    }
    if (entry->kind == TreeEntry::Kind::directory) {
      errno = EISDIR;
      ulx::throwErrno({"read(\"", file, "\")"}, EISDIR);
    }
    return entry->content;
  }

 private:
  const RecordedTree& tree_;
};

}  // namespace

RecordedTree::RecordedTree(const recorder::DeviceRecording& recording) : plugged_(recording.directory) {
  for (const TreeEntry& entry : recording.tree) {
    entries_.insert_or_assign("/sys/" + entry.path, entry);
  }
}

std::unique_ptr<DeviceAttributes> RecordedTree::attributes(const std::string& path) const {
  return std::make_unique<RecordedDevice>(*this, path);
}

std::vector<std::string> RecordedTree::nodes(const std::string& device) const {
  std::vector<std::string> found;
  for (const auto& [path, entry] : entries_) {
    const bool isBehind = entry.kind == TreeEntry::Kind::directory && belongsTo(path, device);
    if (isBehind && isNode(RecordedDevice(*this, path))) {
      found.push_back(path);
    }
  }
  sortByName(found);
  return found;
}

DeviceKind RecordedTree::kindOf(std::uint32_t classes, const DeviceAttributes& device) const {
  return classifyAsItIs(classes, device);
}

std::string RecordedTree::whyNodesAreHidden(const std::string& device) const {
  const bool showsInterfaces = std::ranges::any_of(entries_, [&device](const auto& each) {
    return each.second.kind == TreeEntry::Kind::directory && isBelow(each.first, device);
  });
  return showsInterfaces ? "" : "this folder does not show";
}

std::string RecordedTree::whySpeedIsUnknown(const std::string& device) const {
  return attributes(device)->textOr("speed", "none").empty() ? "about.txt has no speed" : "";
}

std::vector<std::string> RecordedTree::devices() const {
  std::vector<std::string> found;
  for (const auto& [path, entry] : entries_) {
    const bool wasPlugged = plugged_.empty() || path == plugged_ || isBelow(path, plugged_);
    if (wasPlugged && (path == plugged_ || isUsbDevice(path))) {
      found.push_back(path);
    }
  }
  sortByName(found);
  return found;
}

bool RecordedTree::belongsTo(const std::string& node, const std::string& device) const {
  fs::path directory = fs::path(node).parent_path();
  while (isBelow(directory, device) && !isUsbDevice(directory)) {
    directory = directory.parent_path();
  }
  return directory == device;
}

bool RecordedTree::isUsbDevice(const std::string& path) const {
  const TreeEntry* uevent = findUnresolved(path + "/uevent");
  return uevent != nullptr && isUsbDeviceEvent(uevent->content);
}

const TreeEntry* RecordedTree::findUnresolved(const std::string& path) const {
  const auto found = entries_.find(path);
  return found == entries_.end() ? nullptr : &found->second;
}

const TreeEntry* RecordedTree::find(const std::string& path) const {
  constexpr int mostLinks = 40;  // as many as the kernel follows
  fs::path next = path;
  for (int links = 0; links <= mostLinks; ++links) {
    const fs::path asked = next;
    fs::path resolved;
    const TreeEntry* link = nullptr;
    auto component = asked.begin();
    for (; component != asked.end() && link == nullptr; ++component) {
      resolved = *component == ".." ? resolved.parent_path() : resolved / *component;
      const TreeEntry* entry = findUnresolved(resolved);
      link = entry != nullptr && entry->kind == TreeEntry::Kind::link ? entry : nullptr;
    }
    if (link == nullptr) {
      return findUnresolved(resolved);
    }
    next = resolved.parent_path() / link->content;
    for (; component != asked.end(); ++component) {
      next /= *component;
    }
  }
  return nullptr;
}

}  // namespace explain
