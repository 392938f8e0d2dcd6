#include <algorithm>
#include <array>

#include "demo/prompt.h"
#include "sim/error.h"

namespace demo {

namespace {

constexpr std::size_t anyNumber = 1000;
constexpr std::size_t listColumns = 25;

/** A line taken apart, and what it acts on. */
struct Call {
  Unit& unit;
  Log& log;
  Words arguments;
  std::string text;  ///< everything behind the command's name and one blank, as it is
};

struct Command {
  const char* name;
  const char* arguments;
  const char* meaning;
  std::size_t fewest;  ///< arguments
  std::size_t most;
  void (*carryOut)(const Call& call);
};

void help(const Call& call);

std::string padded(std::string text) {
  text.resize(std::max(text.size() + 1, listColumns), ' ');
  return text;
}

int number(const std::string& word) {
  const std::string digits = word.substr(word.starts_with('#') ? 1 : 0);
  constexpr std::size_t mostDigits = 6;
  if (digits.empty() || digits.size() > mostDigits ||
      digits.find_first_not_of("0123456789") != std::string::npos) {
    throw sim::Error("\"" + word + "\" is no number");
  }
  return std::stoi(digits);
}

int status(const std::string& word) {
  constexpr int largest = 255;
  if (number(word) > largest) {
    throw sim::Error("\"" + word + "\" is no exit status from 0 to 255");
  }
  return number(word);
}

void listDevices(const Call& call) {
  Words others = call.unit.pluggedIn();
  for (const std::string& name : sim::DeviceRecording::names()) {
    const sim::DeviceRecording recording = sim::DeviceRecording::load(name);
    const bool isPluggedIn = std::erase(others, name) > 0;
    if (!recording.directory.empty()) {
      call.log.item(padded((isPluggedIn ? "* " : "  ") + name),
                    recording.description.substr(0, recording.description.find(" (made up")) +
                        (name.ends_with("-hiddev") ? ", with hiddev nodes" : ""));
    }
  }
  for (const std::string& path : others) {
    call.log.item("* ", path);
  }
  call.log.plain("(* is plugged in)");
}

void listWorkers(const Call& call) {
  for (const NumberedWorker& each : call.unit.workers()) {
    call.log.item("",
                  "#" + std::to_string(each.number) + " " + each.worker->program() + " for " + each.device);
  }
  if (call.unit.workers().empty()) {
    call.log.plain("No worker runs.");
  }
}

void policy(const Call& call) {
  if (call.arguments.empty()) {
    call.unit.logConfiguration();
    return;
  }
  Settings changes;
  for (std::size_t i = 0; i < call.arguments.size(); i += 2) {
    if (i + 1 == call.arguments.size()) {
      throw sim::Error("a key needs a value; \"default\" removes it");
    }
    changes.emplace_back(call.arguments[i], call.arguments[i + 1]);
  }
  call.unit.configure(changes);
}

void link(const Call& call) {
  if (call.text.size() < 2) {
    throw sim::Error("a message of one character is a query; say query");
  }
  call.unit.deliverLink(call.text);
}

const Words usualStart = {"--debug=ctrl,generic,keyboard,scsi", "--class=all", "transmitter", "5000", "high"};

const std::array<Command, 13> commands{{
    {"help", "", "this list", 0, 0, help},
    {"devices", "", "the recorded devices", 0, 0, listDevices},
    {"plug", "DEVICE", "plug one in: its name, or the path of another one's folder", 1, 1,
     [](const Call& call) { call.unit.plug(call.arguments[0]); }},
    {"unplug", "DEVICE", "take it out; its workers end", 1, 1,
     [](const Call& call) { call.unit.unplug(call.arguments[0]); }},
    {"policy", "[KEY VALUE]...", "show the configuration, or change it and send SIGHUP", 0, anyNumber,
     policy},
    {"link", "LINE", "deliver link parameters: HOST PORT SPEED INTERFACE INKEY OUTKEY", 1, anyNumber, link},
    {"query", "", "ask for the link parameters", 0, 0, [](const Call& call) { call.unit.askForLink(); }},
    {"hangup", "", "the link manager closes its connection", 0, 0,
     [](const Call& call) { call.unit.hangUp(); }},
    {"workers", "", "the workers that run", 0, 0, listWorkers},
    {"end", "WORKER STATUS", "let a worker exit", 2, 2,
     [](const Call& call) { call.unit.endWorker(number(call.arguments[0]), status(call.arguments[1])); }},
    {"crash", "WORKER", "let a worker die by a signal", 1, 1,
     [](const Call& call) { call.unit.crashWorker(number(call.arguments[0])); }},
    {"await", "WORKER", "wait until the daemon has ended a worker", 1, 1,
     [](const Call& call) { call.unit.awaitEndOfWorker(number(call.arguments[0])); }},
    {"start", "[ARGUMENT]...", "start the daemon when it has ended", 0, anyNumber,
     [](const Call& call) { call.unit.startDaemon(call.arguments.empty() ? usualStart : call.arguments); }},
}};

void help(const Call& call) {
  for (const Command& command : commands) {
    call.log.item(padded(std::string("  ") + command.name + " " + command.arguments), command.meaning);
  }
  call.log.item(padded("  quit"), "end the unit; so does the end of the input");
  call.log.plain("Keys, each with a value, or with default for none:");
  for (const std::string& key : Unit::configurationKeys()) {
    call.log.item("  ", key);
  }
}

}  // namespace

Words wordsOf(const std::string& line) {
  Words words;
  bool inWord = false;
  bool inQuotes = false;
  for (const char c : line) {
    const bool isBlank = !inQuotes && (c == ' ' || c == '\t');
    if (!isBlank && !inWord) {
      words.emplace_back();
    }
    inWord = !isBlank;
    if (c == '\'') {
      inQuotes = !inQuotes;
    } else if (inWord) {
      words.back() += c;
    }
  }
  return words;
}

void carryOutCommand(const std::string& line, Unit& unit, Log& log) {
  Words words = wordsOf(line);
  if (words.empty()) {
    return;
  }
  const std::string name = words.front();
  words.erase(words.begin());
  const auto* const command = std::find_if(commands.begin(), commands.end(),
                                           [&name](const Command& each) { return name == each.name; });
  if (command == commands.end()) {
    throw sim::Error("there is no command " + typed({name}) + "; help lists them");
  }
  if (words.size() < command->fewest || words.size() > command->most) {
    throw sim::Error("it is said like this: " + name + " " + command->arguments);
  }
  const std::size_t end = line.find(' ', line.find_first_not_of(' '));
  command->carryOut({unit, log, words, end == std::string::npos ? "" : line.substr(end + 1)});
}

Words nextWords(const Words& before, const Unit& unit) {
  Words words;
  const std::string command = before.empty() ? "" : before.front();
  if (before.empty()) {
    std::transform(commands.begin(), commands.end(), std::back_inserter(words),
                   [](const Command& each) { return each.name; });
    words.emplace_back("quit");
  } else if (command == "plug") {
    words = sim::DeviceRecording::names();
  } else if (command == "unplug") {
    words = unit.pluggedIn();
  } else if (command == "policy") {
    words = before.size() % 2 == 1 ? Unit::configurationKeys() : Words{"yes", "no", "default"};
  } else if (command == "end" || command == "crash" || command == "await") {
    std::transform(unit.workers().begin(), unit.workers().end(), std::back_inserter(words),
                   [](const NumberedWorker& worker) { return std::to_string(worker.number); });
  }
  return words;
}

}  // namespace demo
