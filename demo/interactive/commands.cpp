#include "demo/interactive/commands.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <vector>

#include "demo/quoting.h"
#include "sim/device_recording.h"
#include "sim/error.h"

namespace demo {

namespace {

using Words = std::vector<std::string>;

/** A line taken apart, and what it may act on. */
struct Call {
  Stage& stage;
  Console& console;
  Words arguments;
  std::string text;  ///< everything behind the command's name and one blank, as it is
};

struct Command {
  const char* name;
  const char* arguments;
  const char* meaning;
  std::size_t fewest;  ///< arguments
  std::size_t most;
  Next (*carryOut)(const Call& call);
};

constexpr std::size_t anyNumber = 1000;

Next help(const Call& call);

const Words usualStart = {"--debug=ctrl,generic,keyboard,scsi", "--class=all", "transmitter", "5000", "high"};

Next start(const Call& call) {
  call.stage.startDaemon(call.arguments.empty() ? usualStart : call.arguments);
  return Next::GoOn;
}

std::string describe(const sim::DeviceRecording& recording) {
  constexpr std::size_t nameColumns = 24;
  std::string line = recording.name;
  line.resize(std::max(nameColumns, line.size() + 1), ' ');
  line += recording.description.substr(0, recording.description.find(" (made up"));
  return line + (recording.name.ends_with("-hiddev") ? ", with hiddev nodes" : "");
}

Next listDevices(const Call& call) {
  const auto& pluggedIn = call.stage.desk().pluggedIn();
  for (const std::string& name : sim::recordingNames()) {
    const sim::DeviceRecording recording = sim::loadRecording(name);
    if (!recording.directory.empty()) {
      call.console.plain((pluggedIn.contains(name) ? "* " : "  ") + describe(recording));
    }
  }
  call.console.plain("(* is plugged in)");
  return Next::GoOn;
}

Next plug(const Call& call) {
  call.stage.plug(call.arguments.front());
  return Next::GoOn;
}

Next unplug(const Call& call) {
  call.stage.unplug(call.arguments.front());
  return Next::GoOn;
}

Next policy(const Call& call) {
  if (call.arguments.empty()) {
    call.console.plain("/vel/quor.conf says: " + call.stage.policy().summary());
    return Next::GoOn;
  }
  if (call.arguments.size() == 1) {
    throw sim::Error("a key needs a value: yes, no, or default");
  }
  call.stage.changePolicy({{call.arguments[0], call.arguments[1]}});
  return Next::GoOn;
}

Next link(const Call& call) {
  if (call.text.size() < 2) {
    throw sim::Error("a message of one character is a query; say query");
  }
  call.stage.deliverLink(call.text);
  return Next::GoOn;
}

Next query(const Call& call) {
  call.stage.askForLink();
  return Next::GoOn;
}

Next hangUp(const Call& call) {
  call.stage.hangUp();
  return Next::GoOn;
}

Next listWorkers(const Call& call) {
  for (const NumberedWorker& worker : call.stage.workers()) {
    call.console.plain("#" + std::to_string(worker.number) + " " + worker.program() + " for " +
                       worker.device);
  }
  if (call.stage.workers().empty()) {
    call.console.plain("No worker runs.");
  }
  return Next::GoOn;
}

int number(const std::string& word, int largest) {
  const std::string digits = word.starts_with('#') ? word.substr(1) : word;
  constexpr std::size_t mostDigits = 6;
  const bool isNumber = !digits.empty() && digits.size() <= mostDigits &&
                        digits.find_first_not_of("0123456789") == std::string::npos;
  if (!isNumber || std::stoi(digits) > largest) {
    throw sim::Error("\"" + word + "\" is no number from 0 to " + std::to_string(largest));
  }
  return std::stoi(digits);
}

constexpr int largestWorker = 999999;
constexpr int largestStatus = 255;

Next endWorker(const Call& call) {
  call.stage.endWorker(number(call.arguments[0], largestWorker), number(call.arguments[1], largestStatus));
  return Next::GoOn;
}

Next crashWorker(const Call& call) {
  call.stage.crashWorker(number(call.arguments[0], largestWorker));
  return Next::GoOn;
}

Next quit(const Call& /*call*/) {
  return Next::Quit;
}

constexpr std::array<Command, 13> commands{{
    {"help", "", "this list", 0, 0, help},
    {"devices", "", "the recorded devices", 0, 0, listDevices},
    {"plug", "NAME", "plug one of them in", 1, 1, plug},
    {"unplug", "NAME", "take it out; its workers end", 1, 1, unplug},
    {"policy", "[KEY VALUE]", "show the configuration, or change it and send SIGHUP", 0, 2, policy},
    {"link", "LINE", "deliver link parameters: HOST PORT SPEED INTERFACE INKEY OUTKEY", 1, anyNumber, link},
    {"query", "", "ask for the link parameters", 0, 0, query},
    {"hangup", "", "the link manager closes its connection", 0, 0, hangUp},
    {"workers", "", "the workers that run", 0, 0, listWorkers},
    {"end", "WORKER STATUS", "let a worker exit", 2, 2, endWorker},
    {"crash", "WORKER", "let a worker die by a signal", 1, 1, crashWorker},
    {"start", "[ARGUMENT...]", "start the daemon when it has ended", 0, anyNumber, start},
    {"quit", "", "end the unit; so does the end of the input", 0, 0, quit},
}};

Next help(const Call& call) {
  constexpr std::size_t columns = 22;
  for (const Command& command : commands) {
    std::string line = std::string(command.name) + " " + command.arguments;
    line.resize(columns, ' ');
    call.console.plain("  " + line + command.meaning);
  }
  call.console.plain("Policy keys: yes, no or default for");
  for (const std::string& key : Policy::keys()) {
    call.console.plain("  " + key);
  }
  return Next::GoOn;
}

const Command& findCommand(const std::string& name) {
  const auto* const found = std::find_if(commands.begin(), commands.end(),
                                         [&name](const Command& command) { return name == command.name; });
  if (found == commands.end()) {
    throw sim::Error("there is no command " + quoted(name) + "; help lists them");
  }
  return *found;
}

Words wordsOf(const std::string& line) {
  std::istringstream stream(line);
  Words words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

std::string behindFirstWord(const std::string& line) {
  const std::size_t end = line.find(' ', line.find_first_not_of(' '));
  return end == std::string::npos ? "" : line.substr(end + 1);
}

}  // namespace

Next carryOutCommand(const std::string& line, Stage& stage, Console& console) {
  Words words = wordsOf(line);
  if (words.empty()) {
    return Next::GoOn;
  }
  const Command& command = findCommand(words.front());
  words.erase(words.begin());
  if (words.size() < command.fewest || words.size() > command.most) {
    throw sim::Error(std::string("it is said like this: ") + command.name + " " + command.arguments);
  }
  return command.carryOut({stage, console, words, behindFirstWord(line)});
}

}  // namespace demo
