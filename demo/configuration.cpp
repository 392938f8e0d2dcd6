// The unit's configuration, which is read and changed by its own program, quor_config.

#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "demo/unit.h"
#include "sim/error.h"
#include "sim/line_file.h"
#include "sim/process.h"

namespace demo {

namespace {

namespace fs = std::filesystem;

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
