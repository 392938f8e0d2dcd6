// The commands, as one types them at the prompt and as the scenes give them.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <optional>
#include <regex>
#include <set>

#include "ctrl/configuration_keys.h"
#include "demo/unit.h"
#include "sim/error.h"
#include "sim/line_file.h"
#include "sim/process.h"

namespace demo {

namespace {

namespace fs = std::filesystem;

/** Where the rest of the line is one argument, as it is, blanks and all. */
constexpr const char* restOfLine = "LINE";

void listItem(const Log& log, std::string left, const std::string& text) {
  constexpr std::size_t leftColumns = 25;
  left.resize(std::max(left.size() + 1, leftColumns), ' ');
  log.item(left, text);
}

/** Whether it succeeded, and the lines of its output. */
std::pair<bool, Words> runConfigurator(Words command) {
  constexpr const char* outputFile = "/sim/quor_config";
  sim::LineFile output(outputFile);
  command.insert(command.begin(), DEMO_CONFIGURATOR);
  const sim::ProcessEnd end = sim::runProcess(command, {}, outputFile, outputFile);
  return {end == sim::ProcessEnd::exited(0), output.lines()};
}

/** So that the daemon finds it. A program of the host's would not report to the unit. */
void installGenericWorker(sim::Unit& unit, const std::string& program) {
  const bool isPath = program.find('/') != std::string::npos;
  const fs::path path = fs::path(isPath ? "/" : "/sim/bin") / program;
  if (isPath && fs::exists(path) && !fs::is_symlink(path)) {
    throw sim::Error(path.string() + " is there already, and is no worker of the demo");
  }
  unit.installWorker(path);
}

/** The names of all that the daemon reads, in alphabetical order. */
Words keyNames() {
  std::set<std::string> names;
  for (const ConfigurationKey& key : configurationKeys) {
    names.insert(key.name);
  }
  return {names.begin(), names.end()};
}

std::optional<std::string> configured(const std::string& key) {
  const auto [isDone, output] = runConfigurator({"get", key});
  return isDone && !output.empty() ? std::optional(output.front()) : std::nullopt;
}

/** The value "default" removes the key. */
void configure(sim::Unit& unit, const Log& log, const std::string& key, const std::string& value) {
  const bool isRemoved = value == "default";
  if (isRemoved && !configured(key)) {
    return;
  }
  if (!isRemoved && key == "apps:quor_usb_rx_generic") {
    installGenericWorker(unit, value);
  }
  const Words command = isRemoved ? Words{"unset", key} : Words{"set", key, value};
  log.line("config", "quor_config " + typed(command));
  if (!runConfigurator(command).first) {
    throw sim::Error("quor_config did not do what it was asked for");
  }
}

void logConfiguration(const Log& log) {
  std::string text;
  for (const std::string& key : keyNames()) {
    if (const std::optional<std::string> value = configured(key)) {
      const std::size_t colon = key.find(':');
      const std::string section = " [" + key.substr(0, colon) + "] ";
      text +=
          (text.find(section) == std::string::npos ? section : ", ") + key.substr(colon + 1) + "=" + *value;
    }
  }
  log.line("config", "/vel/quor.conf says:" + (text.empty() ? " nothing: every key has its default" : text));
  for (const std::string& fault : text.empty() ? Words{} : runConfigurator({"check"}).second) {
    log.line("config", "quor_config check: " + fault);
  }
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
  if (before[0] == "policy") {
    return before.size() % 2 == 1 ? keyNames() : Words{"yes", "no", "default"};
  }
  if (before[0] == "plug" || before[0] == "unplug") {
    return before[0] == "plug" ? sim::recordingNames() : pluggedIn();
  }
  return {};
}

void Unit::help(const Words& /*arguments*/) {
  for (const Command& command : commands()) {
    listItem(log_, "  " + command.name + " " + command.arguments, command.meaning);
  }
  listItem(log_, "  quit", "end the unit; so does the end of the input");
  log_.item("", "Keys, each with a value, or with default for none:");
  for (const std::string& key : keyNames()) {
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

void Unit::startDaemon(const Words& arguments) {
  if (daemonRuns()) {
    throw sim::Error("the daemon runs already");
  }
  if (arguments.empty()) {
    return startDaemon(wordsOf("--debug=ctrl,generic,keyboard,scsi --class=all transmitter 5000 high"));
  }
  const bool isDebugged = std::regex_search(typed(arguments), std::regex("--debug=\\S*ctrl"));
  const bool isOnStandardError =
      std::ranges::count(arguments, "--stderr") > 0 || !configured("usb:log_to_syslog");
  if (!isDebugged || !isOnStandardError || std::ranges::count(arguments, "--syslog") > 0) {
    throw sim::Error(
        "the demo shows the daemon's messages: give it --debug=ctrl, and no --syslog; with "
        "usb:log_to_syslog give it --stderr, too");
  }
  log_.line("daemon", "starts: usb_rx_ctrl " + typed(arguments));
  daemon_ = &unit_.startDaemon(arguments);
  unit_.waitUnlessEnded([this] { unit_.waitUntilServing(); });
}

void Unit::policy(const Words& arguments) {
  if (arguments.size() % 2 == 1) {
    throw sim::Error("a key needs a value; default removes it");
  }
  for (std::size_t i = 0; i < arguments.size(); i += 2) {
    if (std::ranges::count(keyNames(), arguments[i]) == 0) {
      throw sim::Error("there is no key " + arguments[i] + "; help lists them");
    }
  }
  for (std::size_t i = 0; i < arguments.size(); i += 2) {
    configure(unit_, log_, arguments[i], arguments[i + 1]);
  }
  logConfiguration(log_);
  if (!arguments.empty() && daemonRuns()) {
    daemon_->signal(SIGHUP);
    log_.line("config", "SIGHUP tells the daemon to read it before the next device");
  }
}

}  // namespace demo
