#include <algorithm>
#include <iterator>

#include "demo/prompt.h"
#include "sim/error.h"

namespace demo {

namespace {

constexpr std::size_t anyNumber = 1000;
constexpr int largestWorker = 999999;
constexpr int largestStatus = 255;

/** A line taken apart, and what it acts on. */
struct Call {
  Unit& unit;
  Log& log;
  Words words;       ///< the first one names the command
  std::string text;  ///< all behind that and one blank, as it is
};

struct Command {
  std::string name;
  std::string arguments;
  std::string meaning;
  std::size_t fewest;  ///< arguments
  std::size_t most;
  void (*carryOut)(const Call& call);
};

const std::vector<Command>& commands();

int number(const std::string& word, int largest) {
  const std::string digits = word.substr(word.starts_with('#') ? 1 : 0);
  constexpr std::size_t mostDigits = 6;
  const bool isNumber = !digits.empty() && digits.size() <= mostDigits &&
                        digits.find_first_not_of("0123456789") == std::string::npos;
  if (!isNumber || std::stoi(digits) > largest) {
    throw sim::Error("\"" + word + "\" is no number from 0 to " + std::to_string(largest));
  }
  return std::stoi(digits);
}

void listItem(const Log& log, std::string left, const std::string& text) {
  constexpr std::size_t leftColumns = 25;
  left.resize(std::max(left.size() + 1, leftColumns), ' ');
  log.item(left, text);
}

void help(const Call& call) {
  for (const Command& command : commands()) {
    listItem(call.log, "  " + command.name + " " + command.arguments, command.meaning);
  }
  listItem(call.log, "  quit", "end the unit; so does the end of the input");
  call.log.item("", "Keys, each with a value, or with default for none:");
  for (const std::string& key : Unit::configurationKeys()) {
    call.log.item("  ", key);
  }
}

void listDevices(const Call& call) {
  Words elsewhere = call.unit.pluggedIn();
  for (const std::string& name : sim::DeviceRecording::names()) {
    const sim::DeviceRecording recording = sim::DeviceRecording::load(name);
    const std::string mark = std::erase(elsewhere, name) > 0 ? "* " : "  ";
    if (!recording.directory.empty()) {
      listItem(call.log, mark + name,
               recording.description.substr(0, recording.description.find(" (made up")) +
                   (name.ends_with("-hiddev") ? ", with hiddev nodes" : ""));
    }
  }
  for (const std::string& path : elsewhere) {
    call.log.item("* ", path);
  }
  call.log.item("", "(* is plugged in)");
}

void listWorkers(const Call& call) {
  for (const Worker& each : call.unit.workers()) {
    call.log.item("",
                  "#" + std::to_string(each.number) + " " + each.process->program() + " for " + each.device);
  }
  if (call.unit.workers().empty()) {
    call.log.item("", "No worker runs.");
  }
}

void policy(const Call& call) {
  if (call.words.size() % 2 == 0) {
    throw sim::Error("a key needs a value; default removes it");
  }
  const Words& keys = Unit::configurationKeys();
  for (std::size_t i = 1; i < call.words.size(); i += 2) {
    if (std::find(keys.begin(), keys.end(), call.words[i]) == keys.end()) {
      throw sim::Error("there is no key " + call.words[i] + "; help lists them");
    }
  }
  for (std::size_t i = 1; i < call.words.size(); i += 2) {
    call.unit.configure(call.words[i], call.words[i + 1]);
  }
  call.unit.logConfiguration();
  if (call.words.size() > 1) {
    call.unit.announceConfiguration();
  }
}

void link(const Call& call) {
  if (call.text.size() < 2) {
    throw sim::Error("a message of one character is a query; say query");
  }
  call.unit.deliverLink(call.text);
}

void start(const Call& call) {
  const Words usual = {"--debug=ctrl,generic,keyboard,scsi", "--class=all", "transmitter", "5000", "high"};
  call.unit.startDaemon(call.words.size() == 1 ? usual : Words(call.words.begin() + 1, call.words.end()));
}

void endWorker(const Call& call) {
  call.unit.endWorker(number(call.words[1], largestWorker), number(call.words[2], largestStatus));
}

const std::vector<Command>& commands() {
  static const std::vector<Command> all = {
      {"help", "", "this list", 0, 0, help},
      {"devices", "", "the recorded devices", 0, 0, listDevices},
      {"plug", "DEVICE", "plug one in, by name, or another by its folder's path", 1, 1,
       [](const Call& call) { call.unit.plug(call.words[1]); }},
      {"unplug", "DEVICE", "take it out; its workers end", 1, 1,
       [](const Call& call) { call.unit.unplug(call.words[1]); }},
      {"policy", "[KEY VALUE]...", "show the configuration, or change it and send SIGHUP", 0, anyNumber,
       policy},
      {"link", "LINE", "deliver HOST PORT SPEED INTERFACE INKEY OUTKEY", 1, anyNumber, link},
      {"query", "", "ask for the link parameters", 0, 0, [](const Call& call) { call.unit.askForLink(); }},
      {"hangup", "", "the link manager closes its connection", 0, 0,
       [](const Call& call) { call.unit.hangUp(); }},
      {"workers", "", "the workers that run", 0, 0, listWorkers},
      {"end", "WORKER STATUS", "let a worker exit", 2, 2, endWorker},
      {"crash", "WORKER", "let a worker die by a signal", 1, 1,
       [](const Call& call) { call.unit.crashWorker(number(call.words[1], largestWorker)); }},
      {"await", "WORKER", "wait until the daemon has ended a worker", 1, 1,
       [](const Call& call) { call.unit.awaitEndOfWorker(number(call.words[1], largestWorker)); }},
      {"start", "[ARGUMENT]...", "start the daemon when it has ended", 0, anyNumber, start}};
  return all;
}

}  // namespace

void carryOutCommand(const std::string& line, Unit& unit, Log& log) {
  const Words words = wordsOf(line);
  if (words.empty()) {
    return;
  }
  const auto command = std::find_if(commands().begin(), commands().end(),
                                    [&words](const Command& each) { return each.name == words[0]; });
  if (command == commands().end()) {
    throw sim::Error("there is no command " + typed({words[0]}) + "; help lists them");
  }
  if (words.size() - 1 < command->fewest || words.size() - 1 > command->most) {
    throw sim::Error("it is said like this: " + command->name + " " + command->arguments);
  }
  const std::size_t end = std::min(line.find(' ', line.find_first_not_of(' ')), line.size() - 1);
  command->carryOut({unit, log, words, line.substr(end + 1)});
}

Words nextWords(const Words& before, const Unit& unit) {
  Words words;
  const std::string command = before.empty() ? "" : before[0];
  if (command.empty()) {
    words = {"quit"};
    std::transform(commands().begin(), commands().end(), std::back_inserter(words),
                   [](const Command& each) { return each.name; });
  } else if (command == "plug") {
    words = sim::DeviceRecording::names();
  } else if (command == "unplug") {
    words = unit.pluggedIn();
  } else if (command == "policy") {
    words = before.size() % 2 == 1 ? Unit::configurationKeys() : Words{"yes", "no", "default"};
  }
  return words;
}

}  // namespace demo
