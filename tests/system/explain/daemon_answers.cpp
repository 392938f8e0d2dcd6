#include "system/explain/daemon_answers.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <deque>
#include <utility>

#include "sim/contract.h"
#include "sim/error.h"
#include "system/explain/link_of_unit.h"
#include "system/explain/recorded_devices.h"
#include "system/support/control_messages.h"

namespace support {

namespace {

namespace debug = contract::debug;
namespace display = contract::display;

using Lines = std::vector<std::string>;

/** What the daemon has done at the event of one device or node. */
struct Handled {
  std::string path;
  std::string decision = {};  ///< the text of the log that names it, or none
  bool hasStarted = false;
  Lines worker = {};
  std::optional<std::string> shown = {};
};

constexpr std::array decisions = {debug::scsiGeneric, debug::hid,          debug::hub,
                                  debug::keyboard,    debug::storage,      debug::unsupported,
                                  debug::generic,     debug::undetermined, debug::eventIgnored};

std::vector<Handled> handledIn(const Lines& messages) {
  const std::string tag = debug::tag;
  const std::string addition = debug::event("add", "");
  std::vector<Handled> all;
  for (const std::string& message : messages) {
    const std::string text = message.starts_with(tag) ? message.substr(tag.size()) : "";
    if (text.starts_with(addition)) {
      all.push_back({.path = "/sys" + text.substr(addition.size())});
    } else if (std::ranges::find(decisions, text) != decisions.end()) {
      all.back().decision = text;
    } else if (text.starts_with("starting usb_rx_")) {
      all.back().hasStarted = true;
    }
  }
  return all;
}

/** The display gets at most one line of each device: why it is refused, or that it is attached. */
void assignLines(std::vector<Handled>& all, const Lines& writes) {
  std::deque<std::string> lines(writes.begin(), writes.end());
  for (Handled& handled : all) {
    if ((handled.hasStarted || handled.decision == debug::unsupported) && !lines.empty()) {
      handled.shown = lines.front().substr(0, lines.front().find('\n'));
      lines.pop_front();
    }
  }
  if (!lines.empty()) {
    throw sim::Error("on the display, of no device: " + lines.front());
  }
}

/** The rule is known by its line; only that of isochronous endpoints can refuse without one. */
std::string refusingRule(const std::optional<std::string>& line, const std::string& name) {
  if (!line || *line == display::isochronous(name)) {
    return "usb:isochronous_enabled";
  }
  if (*line == display::smartcard(name)) {
    return "usb:smartcard";
  }
  if (*line == display::nonHid(name)) {
    return "usb:hid_only";
  }
  if (*line == display::massStorage(name)) {
    return "usb:block_mass_storage";
  }
  return *line == display::highSpeed(name) ? "speed" : "none that shows \"" + *line + "\"";
}

std::optional<std::string> kindOf(const std::string& decision) {
  if (decision == debug::hub) {
    return "hub";
  }
  if (decision == debug::keyboard) {
    return "keyboard";
  }
  if (decision == debug::storage) {
    return "storage";
  }
  return decision == debug::generic || decision == debug::unsupported ? std::optional<std::string>("generic")
                                                                      : std::nullopt;
}

void addOwnFate(Answer& answer, const Handled& handled, const std::string& name) {
  answer.kind = kindOf(handled.decision);
  answer.display = handled.shown;
  if (handled.hasStarted) {
    answer.verdict = "served";
    answer.worker = handled.worker;
  } else if (handled.decision == debug::unsupported) {
    answer.verdict = "refused";
    answer.rule = refusingRule(handled.shown, name);
  }
}

/** A keyboard is left to its HID nodes, a disk to its SCSI generic ones. */
bool isLeftTo(const Answer& answer, const Handled& node) {
  return (answer.kind == "keyboard" && node.decision == debug::hid) ||
         (answer.kind == "storage" && node.decision == debug::scsiGeneric);
}

void addNode(Answer& answer, const Handled& node) {
  answer.nodes.push_back({.path = node.path, .worker = node.worker, .display = node.shown});
  if (isLeftTo(answer, node) && !answer.worker) {
    answer.verdict = "served";
    answer.worker = node.worker;
    answer.display = node.shown;
  }
}

/** The device in whose directory a node lies: the one whose directory is the longest. */
Answer* ownerOf(std::vector<Answer>& answers, const std::string& node) {
  Answer* owner = nullptr;
  for (Answer& answer : answers) {
    if (node.starts_with(answer.device + "/") &&
        (owner == nullptr || answer.device.size() > owner->device.size())) {
      owner = &answer;
    }
  }
  return owner;
}

std::vector<Answer> answersOf(const sim::DeviceRecording& recording, const std::vector<Handled>& all) {
  std::vector<Answer> answers;
  for (const std::string& device : devicesIn(recording)) {
    answers.push_back({.device = device});
    const auto handled = std::ranges::find(all, device, &Handled::path);
    if (handled != all.end()) {
      addOwnFate(answers.back(), *handled, shownNameOf(recording, device));
    }
  }
  for (const Handled& handled : all) {
    const bool isDevice = std::ranges::find(answers, handled.path, &Answer::device) != answers.end();
    Answer* owner = ownerOf(answers, handled.path);
    if (handled.hasStarted && !isDevice && owner != nullptr) {
      addNode(*owner, handled);
    }
  }
  return answers;
}

}  // namespace

void AskedDaemon::put(const Circumstances& circumstances) {
  const bool isFirst = !present_;
  if (isFirst || present_->settings != circumstances.settings) {
    configure(circumstances.settings);
  }
  if (isFirst || present_->classList != circumstances.classList) {
    restart(circumstances.classList);
    deliver(circumstances.linkSpeed);
  } else if (present_->linkSpeed != circumstances.linkSpeed) {
    deliver(circumstances.linkSpeed);
  }
  present_ = circumstances;
}

void AskedDaemon::restart(const std::string& classList) {
  if (unit_.daemonRuns()) {
    clients_.clear();  // the daemon ends with its control connection
    unit_.daemon().waitForExit();
  }
  unit_.startDaemon({"--debug=ctrl", "--class=" + classList, "nowhere", "1", "none"});
  unit_.waitUntilServing();
}

void AskedDaemon::deliver(const std::string& linkSpeed) {
  clients_.push_back(support::deliver(unit_, linkOfUnit(linkSpeed).line()));
}

void AskedDaemon::configure(const std::string& settings) {
  sim::Unit::writeConfig(configurationWith(settings));
  if (unit_.daemonRuns()) {
    unit_.daemon().signal(SIGHUP);
  }
}

std::vector<Answer> AskedDaemon::plug(const sim::DeviceRecording& recording) {
  static_cast<void>(unit_.daemon().takeMessages());
  unit_.plug(recording);
  unit_.settle();
  std::vector<Handled> all = handledIn(unit_.daemon().takeMessages());
  for (Handled& handled : all) {
    if (handled.hasStarted) {
      started_.push_back(&unit_.workers.waitForWorker());
      handled.worker = started_.back()->start.arguments;
    }
  }
  assignLines(all, unit_.display.takeWrites());
  return answersOf(recording, all);
}

void AskedDaemon::clear(const sim::DeviceRecording& recording) {
  if (!recording.directory.empty()) {
    unit_.sysfs.remove(recording);
  }
  for (sim::Worker* worker : std::exchange(started_, {})) {
    worker->exitWith(0);
    unit_.waitUntilReaped(*worker);
    unit_.workers.forget(*worker);
  }
  unit_.settle();
}

}  // namespace support
