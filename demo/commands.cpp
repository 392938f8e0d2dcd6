// The commands, as one types them at the prompt and as the scenes give them.

#include <algorithm>

#include "demo/unit.h"
#include "sim/error.h"

namespace demo {

namespace {

/** Where the rest of the line is one argument, as it is, blanks and all. */
constexpr const char* restOfLine = "LINE";

void listItem(const Log& log, std::string left, const std::string& text) {
  constexpr std::size_t leftColumns = 25;
  left.resize(std::max(left.size() + 1, leftColumns), ' ');
  log.item(left, text);
}

}  // namespace

/** One that takes any number of arguments, none included, shows them in brackets. */
const std::vector<Unit::Command>& Unit::commands() {
  static const std::vector<Command> all = {
      {"help", "", "this list", &Unit::help},
      {"devices", "", "the recorded devices", &Unit::listDevices},
      {"plug", "DEVICE", "plug one in, by name, or another by its folder's path", &Unit::plug},
      {"unplug", "DEVICE", "take it out; its workers end", &Unit::unplug},
      {"policy", "[KEY VALUE]...", "show the configuration, or change it and send SIGHUP", &Unit::policy},
      {"link", restOfLine, "deliver HOST PORT SPEED INTERFACE INKEY OUTKEY", &Unit::deliverLink},
      {"query", "", "ask for the link parameters", &Unit::askForLink},
      {"hangup", "", "the link manager closes its connection", &Unit::hangUp},
      {"workers", "", "the workers that run", &Unit::listWorkers},
      {"end", "WORKER STATUS", "let a worker exit", &Unit::endWorker},
      {"crash", "WORKER", "let a worker die by a signal", &Unit::crashWorker},
      {"await", "WORKER", "wait until the daemon has ended a worker", &Unit::awaitEndOfWorker},
      {"start", "[ARGUMENT]...", "start the daemon when it has ended", &Unit::startDaemon}};
  return all;
}

void Unit::carryOut(const std::string& line) {
  Words words = wordsOf(line);
  if (words.empty()) {
    return;
  }
  const std::string name = words[0];
  words.erase(words.begin());
  const auto command = std::ranges::find(commands(), name, &Command::name);
  if (command == commands().end()) {
    throw sim::Error("there is no command " + typed({name}) + "; help lists them");
  }
  if (command->arguments == restOfLine && !words.empty()) {
    words = {line.substr(line.find(' ', line.find_first_not_of(' ')) + 1)};
  }
  if (!command->arguments.starts_with('[') && words.size() != wordsOf(command->arguments).size()) {
    throw sim::Error("it is said like this: " + name + " " + command->arguments);
  }
  (this->*command->carryOut)(words);
  report();
}

Words Unit::nextWords(const Words& before) const {
  if (before.empty()) {
    Words names = {"quit"};
    std::ranges::transform(commands(), std::back_inserter(names), &Command::name);
    return names;
  }
  if (before[0] == "plug") {
    return sim::recordingNames();
  }
  if (before[0] == "unplug") {
    return pluggedIn();
  }
  if (before[0] == "policy") {
    return before.size() % 2 == 1 ? configurationKeys() : Words{"yes", "no", "default"};
  }
  return {};
}

void Unit::help(const Words& /*arguments*/) {
  for (const Command& command : commands()) {
    listItem(log_, "  " + command.name + " " + command.arguments, command.meaning);
  }
  listItem(log_, "  quit", "end the unit; so does the end of the input");
  log_.item("", "Keys, each with a value, or with default for none:");
  for (const std::string& key : configurationKeys()) {
    log_.item("  ", key);
  }
}

void Unit::listDevices(const Words& /*arguments*/) {
  Words elsewhere = pluggedIn();
  for (const std::string& name : sim::recordingNames()) {
    const sim::DeviceRecording recording = sim::loadRecording(name);
    const std::string mark = std::erase(elsewhere, name) > 0 ? "* " : "  ";
    if (!recording.directory.empty()) {
      listItem(log_, mark + name,
               recording.description.substr(0, recording.description.find(" (made up")) +
                   (name.ends_with("-hiddev") ? ", with hiddev nodes" : ""));
    }
  }
  for (const std::string& path : elsewhere) {
    log_.item("* ", path);
  }
  log_.item("", "(* is plugged in)");
}

void Unit::listWorkers(const Words& /*arguments*/) {
  for (const auto& [number, worker] : workers_) {
    log_.item("", nameOf(number) + " for " + worker.device);
  }
  if (workers_.empty()) {
    log_.item("", "No worker runs.");
  }
}

}  // namespace demo
