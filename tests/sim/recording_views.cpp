#include "sim/recording_views.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <functional>

#include "sim/error.h"

namespace sim {

namespace {

namespace fs = std::filesystem;

using Rewrite = std::function<std::string(const std::string&)>;

std::string replacedEverywhere(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

bool isWordCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-';
}

bool beginsWord(const std::string& text, std::size_t at) {
  return at == 0 || !isWordCharacter(text[at - 1]);
}

bool endsWord(const std::string& text, std::size_t at) {
  return at >= text.size() || !isWordCharacter(text[at]);
}

/** `name` replaced where it stands as a word of its own ("1-5" and "1-5:1.0", but not "1-50"). */
std::string withWordReplaced(std::string text, const std::string& name, const std::string& replacement) {
  std::size_t at = text.find(name);
  while (at != std::string::npos) {
    const bool isWord = beginsWord(text, at) && endsWord(text, at + name.size());
    if (isWord) {
      text.replace(at, name.size(), replacement);
    }
    at = text.find(name, at + (isWord ? replacement.size() : 1));
  }
  return text;
}

/** Numbers that follow the word `prefix` ("sg0", "180:0"), counted on by `offset`. */
std::string withNumbersMoved(std::string text, const std::string& prefix, int offset) {
  std::size_t at = text.find(prefix);
  while (at != std::string::npos) {
    const std::size_t number = at + prefix.size();
    const std::size_t end = std::min(text.find_first_not_of("0123456789", number), text.size());
    if (end > number && beginsWord(text, at)) {
      text.replace(number, end - number,
                   std::to_string(std::stoi(text.substr(number, end - number)) + offset));
    }
    at = text.find(prefix, number);
  }
  return text;
}

std::string withNodesMoved(std::string text, int offset) {
  for (const char* prefix : {"hiddev", "sg", "host", "target", "180:", "21:"}) {
    text = withNumbersMoved(std::move(text), prefix, offset);
  }
  if (text.find("MAJOR=180") != std::string::npos || text.find("MAJOR=21") != std::string::npos) {
    text = withNumbersMoved(std::move(text), "MINOR=", offset);
  }
  // A SCSI unit's address begins with its host's number, which is 0 in the recordings.
  return replacedEverywhere(std::move(text), "/0:0:0:", "/" + std::to_string(offset) + ":0:0:");
}

bool isNodeFile(const TreeEntry& entry) {
  const std::string name = fs::path(entry.path).filename();
  return entry.kind == TreeEntry::Kind::file && (name == "dev" || name == "uevent");
}

void rewriteEvents(std::vector<RecordedEvent>& events, const Rewrite& rewrite) {
  for (RecordedEvent& event : events) {
    event.datagram = rewrite(event.datagram);
  }
}

/** Rewrites all names: paths, link texts, events, and the files that name nodes. */
void rewriteNames(DeviceRecording& recording, const Rewrite& rewrite) {
  for (TreeEntry& entry : recording.tree) {
    if (entry.kind == TreeEntry::Kind::link || isNodeFile(entry)) {
      entry.content = rewrite(entry.content);
    }
    entry.path = rewrite(entry.path);
  }
  rewriteEvents(recording.plugEvents, rewrite);
  rewriteEvents(recording.unplugEvents, rewrite);
}

bool isUeventOfHiddev(const TreeEntry& entry) {
  const fs::path path = entry.path;
  return path.filename() == "uevent" && path.parent_path().filename().string().starts_with("hiddev");
}

}  // namespace

DeviceRecording withClassUsbHiddev(DeviceRecording recording) {
  std::erase_if(recording.tree, isUeventOfHiddev);
  rewriteNames(recording, [](const std::string& text) { return replacedEverywhere(text, "usbmisc", "usb"); });
  return recording;
}

DeviceRecording atPort(DeviceRecording recording, const std::string& port, int firstNode) {
  const fs::path directory = recording.directory;
  if (directory.empty() || port.find('-') == std::string::npos) {
    throw Error("the recording " + recording.name + " cannot be moved to port " + port);
  }
  rewriteNames(recording, [&](const std::string& text) {
    return withWordReplaced(withNodesMoved(text, firstNode), directory.filename(), port);
  });
  recording.directory = directory.parent_path() / port;
  for (TreeEntry& entry : recording.tree) {
    if ("/sys/" + entry.path == recording.directory + "/devpath") {
      entry.content = port.substr(port.find('-') + 1) + "\n";
    }
  }
  return recording;
}

}  // namespace sim
