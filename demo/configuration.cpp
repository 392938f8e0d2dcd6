// The unit's configuration, which is read and changed by its own program, quor_config.

#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <sstream>

#include "demo/unit.h"
#include "sim/error.h"
#include "sim/files.h"
#include "sim/process.h"

namespace demo {

namespace {

namespace fs = std::filesystem;

constexpr const char* genericWorkerKey = "apps:quor_usb_rx_generic";
constexpr const char* defaultValue = "default";

struct Run {
  int status;
  Words output;
};

Run runConfigurator(const Words& arguments) {
  constexpr const char* outputFile = "/sim/quor_config";
  Words command = {DEMO_CONFIGURATOR};
  command.insert(command.end(), arguments.begin(), arguments.end());
  sim::writeFile(outputFile, "");
  Run run{};
  if (::waitpid(sim::startProcess(command, {}, outputFile, outputFile), &run.status, 0) == -1) {
    throw sim::systemError("waitpid()");
  }
  std::istringstream text(sim::readFile(outputFile));
  for (std::string line; std::getline(text, line);) {
    run.output.push_back(line);
  }
  return run;
}

/** A key may go without its section. */
std::string fullKey(const std::string& name) {
  const Words& keys = Unit::configurationKeys();
  const auto key = std::find_if(keys.begin(), keys.end(), [&name](const std::string& full) {
    return full == name || full.substr(full.find(':') + 1) == name;
  });
  if (key == keys.end()) {
    throw sim::Error("there is no key " + name + "; help lists them");
  }
  return *key;
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

const Words& Unit::configurationKeys() {
  static const Words keys = {"usb:debug",
                             "usb:classes",
                             "usb:log_to_syslog",
                             "usb:connect_fail_timeout",
                             "usb:hid_only",
                             "usb:block_mass_storage",
                             "usb:smartcard",
                             "usb:isochronous_enabled",
                             "usb:isochronous_user_warning",
                             genericWorkerKey};
  return keys;
}

std::optional<std::string> Unit::configured(const std::string& key) {
  const Run run = runConfigurator({"get", key});
  return run.status == 0 ? std::optional(run.output.empty() ? "" : run.output.front()) : std::nullopt;
}

void Unit::configure(const Settings& changes) {
  for (const auto& [name, value] : changes) {
    const std::string key = fullKey(name);
    if (value == defaultValue && !configured(key)) {
      continue;
    }
    if (value != defaultValue && key == genericWorkerKey) {
      installGenericWorker(unit_, value);
    }
    const Words command = value == defaultValue ? Words{"unset", key} : Words{"set", key, value};
    log_.line(Tag::Config, "quor_config " + typed(command));
    if (runConfigurator(command).status != 0) {
      throw sim::Error("quor_config did not do what it was asked for");
    }
  }
  logConfiguration();
  if (daemonRuns()) {
    unit_.daemon().signal(SIGHUP);
    log_.line(Tag::Config, "SIGHUP tells the daemon to read it before the next device");
  }
  report();
}

void Unit::logConfiguration() {
  std::map<std::string, std::string> sections;
  Words keys = configurationKeys();
  std::sort(keys.begin(), keys.end());
  for (const std::string& key : keys) {
    if (const std::optional<std::string> value = configured(key)) {
      const std::size_t colon = key.find(':');
      std::string& section = sections[key.substr(0, colon)];
      section += (section.empty() ? " " : ", ") + key.substr(colon + 1) + "=" + *value;
    }
  }
  std::string text;
  for (const auto& [section, settings] : sections) {
    text += " [" + section + "]" + settings;
  }
  log_.line(Tag::Config,
            "/vel/quor.conf says:" + (text.empty() ? " nothing: every key has its default" : text));
  for (const std::string& fault : text.empty() ? Words{} : runConfigurator({"check"}).output) {
    log_.line(Tag::Config, "quor_config check: " + fault);
  }
}

}  // namespace demo
