// The commands, as one types them at the prompt and as the scenes give them.

#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <iterator>

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

/** Returns its status and the lines of its output. */
std::pair<int, Words> runConfigurator(Words command) {
  constexpr const char* outputFile = "/sim/quor_config";
  sim::LineFile output(outputFile);
  command.insert(command.begin(), DEMO_CONFIGURATOR);
  int status = 0;
  if (::waitpid(sim::startProcess(command, {}, outputFile, outputFile), &status, 0) == -1) {
    throw sim::systemError("waitpid()");
  }
  return {status, output.lines()};
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

const Words& Unit::configurationKeys() {
  static const Words keys = wordsOf(
      "apps:quor_usb_rx_generic usb:block_mass_storage usb:classes usb:connect_fail_timeout usb:debug "
      "usb:hid_only usb:isochronous_enabled usb:isochronous_user_warning usb:log_to_syslog usb:smartcard");
  return keys;
}

std::optional<std::string> Unit::configured(const std::string& key) {
  const auto [status, output] = runConfigurator({"get", key});
  return status == 0 && !output.empty() ? std::optional(output.front()) : std::nullopt;
}

void Unit::policy(const Words& arguments) {
  if (arguments.size() % 2 == 1) {
    throw sim::Error("a key needs a value; default removes it");
  }
  for (std::size_t i = 0; i < arguments.size(); i += 2) {
    if (std::ranges::count(configurationKeys(), arguments[i]) == 0) {
      throw sim::Error("there is no key " + arguments[i] + "; help lists them");
    }
  }
  for (std::size_t i = 0; i < arguments.size(); i += 2) {
    configure(arguments[i], arguments[i + 1]);
  }
  logConfiguration();
  if (!arguments.empty() && daemonRuns()) {
    daemon_->signal(SIGHUP);
    log_.line("config", "SIGHUP tells the daemon to read it before the next device");
  }
}

/** The value "default" removes the key. */
void Unit::configure(const std::string& key, const std::string& value) {
  const bool isRemoved = value == "default";
  if (isRemoved && !configured(key)) {
    return;
  }
  if (!isRemoved && key == "apps:quor_usb_rx_generic") {
    installGenericWorker(unit_, value);
  }
  const Words command = isRemoved ? Words{"unset", key} : Words{"set", key, value};
  log_.line("config", "quor_config " + typed(command));
  if (runConfigurator(command).first != 0) {
    throw sim::Error("quor_config did not do what it was asked for");
  }
}

void Unit::logConfiguration() {
  std::string text;
  for (const std::string& key : configurationKeys()) {
    if (const std::optional<std::string> value = configured(key)) {
      const std::size_t colon = key.find(':');
      const std::string section = " [" + key.substr(0, colon) + "] ";
      text +=
          (text.find(section) == std::string::npos ? section : ", ") + key.substr(colon + 1) + "=" + *value;
    }
  }
  log_.line("config", "/vel/quor.conf says:" + (text.empty() ? " nothing: every key has its default" : text));
  for (const std::string& fault : text.empty() ? Words{} : runConfigurator({"check"}).second) {
    log_.line("config", "quor_config check: " + fault);
  }
}

}  // namespace demo
