#include "tools/recorder/sysfs_tree.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

#include "tools/recorder/error.h"
#include "tools/recorder/serial_numbers.h"
#include "tools/recorder/sysfs_attribute.h"
#include "ulx/directory.h"
#include "ulx/exceptions.h"

namespace recorder {

namespace {

namespace fs = std::filesystem;

using Tree = std::vector<TreeEntry>;

/** The attributes that identify a device or one of its nodes; others may block, or reveal too much. */
constexpr std::array<std::string_view, 34> identifyingAttributes = {
    "bAlternateSetting",
    "bcdDevice",
    "bConfigurationValue",
    "bDeviceClass",
    "bDeviceProtocol",
    "bDeviceSubClass",
    "bEndpointAddress",
    "bInterfaceClass",
    "bInterfaceNumber",
    "bInterfaceProtocol",
    "bInterfaceSubClass",
    "bmAttributes",
    "bNumConfigurations",
    "bNumEndpoints",
    "bNumInterfaces",
    "busnum",
    "descriptors",
    "dev",
    "devnum",
    "devpath",
    "idProduct",
    "idVendor",
    "interface",
    "manufacturer",
    "maxchild",
    "model",
    "name",
    "product",
    "rev",
    "speed",
    "type",
    "uevent",
    "vendor",
    "version",
};

/** Directories that depend on the machine, not on the device; and batteries, whose names hold serial numbers. */
constexpr std::array<std::string_view, 5> leftOut = {"power", "power_supply", "queue", "statistics",
                                                     "wakeup"};

template <std::size_t size>
bool isOneOf(const std::array<std::string_view, size>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool isDirectory(const std::string& path) {
  return fs::is_directory(fs::symlink_status(path));
}

/** Sorted; empty where there is no such directory (any more). */
std::vector<std::string> namesIn(const fs::path& directory) {
  std::vector<std::string> names;
  if (!isDirectory(directory)) {
    return names;
  }
  try {
    for (const std::string& path : ulx::Directory(directory)) {
      names.push_back(fs::path(path).filename());
    }
  } catch (const ulx::ErrnoException& error) {
    throw systemError(error.context, error.errorNumber);
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool isLink(const std::string& path) {
  return fs::is_symlink(fs::symlink_status(path));
}

std::string belowSys(const std::string& path) {
  return path.substr(sizeof("/sys/") - 1);
}

/** The text of a link. */
std::string targetOf(const std::string& link) {
  std::error_code error;
  std::string target = fs::read_symlink(link, error);
  if (error) {
    throw systemError({"reading ", link}, error.value());
  }
  return target;
}

void addLink(Tree& tree, const std::string& path) {
  tree.push_back({TreeEntry::Kind::link, belowSys(path), targetOf(path)});
}

void addAttribute(Tree& tree, const std::string& path, const std::string& name) {
  const std::optional<std::string> content = readAttribute(path);
  if (content) {
    tree.push_back({TreeEntry::Kind::file, belowSys(path),
                    name == "uevent" ? withoutSerialNumbers(*content, '\n') : *content});
  }
}

void addLinkOrAttribute(Tree& tree, const std::string& path, const std::string& name) {
  if (isLink(path)) {
    addLink(tree, path);
  } else if (isOneOf(identifyingAttributes, name)) {
    addAttribute(tree, path, name);
  }
}

void addWithoutChildren(Tree& tree, const fs::path& directory) {
  tree.push_back({TreeEntry::Kind::directory, belowSys(directory), {}});
  for (const std::string& name : namesIn(directory)) {
    const fs::path path = directory / name;
    if (!isDirectory(path)) {
      addLinkOrAttribute(tree, path, name);
    }
  }
}

void addWithChildren(Tree& tree, const fs::path& directory) {
  tree.push_back({TreeEntry::Kind::directory, belowSys(directory), {}});
  for (const std::string& name : namesIn(directory)) {
    const fs::path path = directory / name;
    if (!isDirectory(path)) {
      addLinkOrAttribute(tree, path, name);
    } else if (!isOneOf(leftOut, name)) {
      addWithChildren(tree, path);
    }
  }
}

void addHubsAbove(Tree& tree, const std::string& device) {
  const std::string hub = fs::path(device).parent_path();
  if (fs::exists(hub + "/bDeviceClass")) {
    addHubsAbove(tree, hub);
    addWithoutChildren(tree, hub);
  }
}

/** Where the kernel keeps links to devices and their nodes. */
std::vector<std::string> linkFolders() {
  std::vector<std::string> folders;
  for (const std::string& bus : namesIn("/sys/bus")) {
    folders.push_back("/sys/bus/" + bus + "/devices");
  }
  for (const std::string& nodeClass : namesIn("/sys/class")) {
    folders.push_back("/sys/class/" + nodeClass);
  }
  folders.emplace_back("/sys/dev/char");
  folders.emplace_back("/sys/dev/block");
  return folders;
}

std::set<std::string> directoriesOf(const Tree& tree) {
  std::set<std::string> directories;
  for (const TreeEntry& entry : tree) {
    if (entry.kind == TreeEntry::Kind::directory) {
      directories.insert("/sys/" + entry.path);
    }
  }
  return directories;
}

/** The links of a folder that lead to one of the directories. */
void addLinksTo(Tree& tree, const std::set<std::string>& directories, const fs::path& folder) {
  for (const std::string& name : namesIn(folder)) {
    const fs::path link = folder / name;
    if (isLink(link) && directories.contains((folder / targetOf(link)).lexically_normal())) {
      addLink(tree, link);
    }
  }
}

}  // namespace

std::vector<TreeEntry> treeOf(const std::string& device) {
  if (!isDirectory(device)) {
    throw Error("the device is not there any more: " + device);
  }
  Tree tree;
  addHubsAbove(tree, device);
  addWithChildren(tree, device);
  const std::set<std::string> directories = directoriesOf(tree);
  for (const std::string& folder : linkFolders()) {
    addLinksTo(tree, directories, folder);
  }
  return tree;
}

}  // namespace recorder
