#include "demo/daemon_lines.h"

#include <algorithm>
#include <cctype>

namespace demo {

namespace {

constexpr const char* tag = "[rx_ctrl] ";

bool isWord(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return std::islower(static_cast<unsigned char>(c)) != 0;
  });
}

/** "[rx_ctrl] ACTION DEVPATH", and no more, by which the handling of an event begins. */
bool namesEvent(const std::string& line) {
  if (!line.starts_with(tag)) {
    return false;
  }
  const std::string text = line.substr(std::string(tag).size());
  const std::size_t blank = text.find(' ');
  return blank != std::string::npos && isWord(text.substr(0, blank)) && text[blank + 1] == '/' &&
         text.find(' ', blank + 1) == std::string::npos;
}

bool namesSubsystem(const std::string& line) {
  return line.starts_with(std::string(tag) + "subsystem is '");
}

bool isPassedOver(const Lines& linesOfEvent) {
  return namesEvent(linesOfEvent.front()) &&
         std::all_of(linesOfEvent.begin() + 1, linesOfEvent.end(), namesSubsystem);
}

std::vector<Lines> dividedByEvent(const Lines& lines) {
  std::vector<Lines> events;
  for (const std::string& line : lines) {
    if (events.empty() || namesEvent(line)) {
      events.emplace_back();
    }
    events.back().push_back(line);
  }
  return events;
}

}  // namespace

bool isOfTheUnitItself(const std::string& line) {
  return line.starts_with(std::string(tag) + "settle /settle/");
}

Lines withoutPassedOver(const Lines& lines) {
  Lines kept;
  for (const Lines& ofEvent : dividedByEvent(lines)) {
    if (!isPassedOver(ofEvent)) {
      kept.insert(kept.end(), ofEvent.begin(), ofEvent.end());
    }
  }
  return kept;
}

std::optional<std::string> pathOfStartedWorker(const std::string& line) {
  for (const char* worker : {"usb_rx_generic", "usb_rx_keyboard", "usb_rx_scsi"}) {
    const std::string beginning = std::string(tag) + "starting " + worker + " for ";
    if (line.starts_with(beginning)) {
      const std::string rest = line.substr(beginning.size());
      return rest.substr(0, rest.find(" ("));  // a keyboard's device number follows
    }
  }
  return std::nullopt;
}

}  // namespace demo
