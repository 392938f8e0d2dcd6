#include "sim/start_script.h"

#include <sys/inotify.h>

#include <filesystem>
#include <fstream>
#include <utility>

#include "sim/daemon.h"
#include "sim/file_watch.h"
#include "sim/files.h"
#include "sim/link_manager.h"
#include "sim/wait.h"

namespace sim {

namespace {

namespace fs = std::filesystem;

constexpr const char* daemonProgram = "/sim/bin/usb_rx_ctrl";
constexpr const char* runFolder = "/var/run";
constexpr const char* daemonFile = "/var/run/usb_rx_ctrl.pid";

/** A program of the daemon's name that becomes the daemon of this build. */
void installDaemon() {
  std::string script = "#!/bin/sh\nexec";
  for (const std::string& word : daemonCommand()) {
    script += " '" + word + "'";
  }
  writeFile(daemonProgram, script + " \"$@\"\n");
  fs::permissions(daemonProgram, fs::perms::owner_all);
}

}  // namespace

StartScript::StartScript(std::vector<std::string> shell, std::string file)
    : shell_(std::move(shell)), file_(std::move(file)) {
  installDaemon();
}

void StartScript::setArguments(const std::string& options, const std::string& port) {
  writeFile(argumentsFile, "USB_RX_HOST=transmitter\nUSB_RX_PORT=" + port +
                               "\nUSB_RX_SPEED=high\nUSB_RX_OPTIONS=\"" + options +
                               "\"\nPATH=/sim/bin:/usr/sbin:/usr/bin:/sbin:/bin\n");
}

ScriptRun StartScript::call(const std::string& command) {
  return run({file_, command});
}

ScriptRun StartScript::shell(const std::string& line) {
  return run({"-c", line});
}

ScriptRun StartScript::run(const std::vector<std::string>& words) {
  const std::string output = "/sim/script-" + std::to_string(++runs_);
  writeFile(output, "");
  std::vector<std::string> command = shell_;
  command.insert(command.end(), words.begin(), words.end());
  const ProcessEnd end = runProcess(command, {}, output, output);
  return {end, readFile(output)};
}

std::optional<pid_t> StartScript::daemon() {
  std::ifstream file(daemonFile);
  pid_t pid = 0;
  return (file >> pid) ? std::optional(pid) : std::nullopt;
}

pid_t StartScript::waitForDaemonAfter(pid_t previous, const Deadline& deadline) {
  const FileWatch wakesTheWait(runFolder, IN_CLOSE_WRITE);
  std::optional<pid_t> found;
  waitUntil("a daemon after " + std::to_string(previous), deadline, [&] {
    found = daemon();
    return found && *found != previous;
  });
  return *found;
}

void StartScript::waitUntilServing(const Deadline& deadline) {
  LinkManager client(LinkManager::usualPath, deadline);
  client.send("?");
  static_cast<void>(client.receiveAll(deadline));
}

}  // namespace sim
