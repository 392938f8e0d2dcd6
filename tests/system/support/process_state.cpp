#include "system/support/process_state.h"

#include <csignal>
#include <filesystem>
#include <sstream>

#include "sim/files.h"
#include "support/eventually.h"

namespace support {
namespace {

std::string fileOf(pid_t process, const std::string& name) {
  return "/proc/" + std::to_string(process) + "/" + name;
}

/** The value of a line "NAME:\tVALUE" in /proc/PID/status. */
std::string statusField(pid_t process, const std::string& name) {
  std::istringstream lines(sim::readFile(fileOf(process, "status")));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(name + ":")) {
      return line.substr(line.find_first_not_of(" \t", name.size() + 1));
    }
  }
  return {};
}

std::set<int> signalsIn(const std::string& hexadecimalMask) {
  const unsigned long long mask = std::stoull(hexadecimalMask, nullptr, 16);
  std::set<int> signals;
  for (int number = 1; number < NSIG; ++number) {
    if ((mask >> static_cast<unsigned>(number - 1) & 1U) != 0) {
      signals.insert(number);
    }
  }
  return signals;
}

void waitUntilIn(pid_t process, char state, const std::string& awaited) {
  eventually(awaited, [&] { return statusField(process, "State").front() == state; });
}

}  // namespace

ProcessState stateOf(pid_t process) {
  return {.workingDirectory = std::filesystem::read_symlink(fileOf(process, "cwd")),
          .caughtSignals = signalsIn(statusField(process, "SigCgt")),
          .ignoredSignals = signalsIn(statusField(process, "SigIgn")),
          .blockedSignals = signalsIn(statusField(process, "SigBlk"))};
}

mode_t fileModeMaskOf(pid_t process) {
  return static_cast<mode_t>(std::stoul(statusField(process, "Umask"), nullptr, 8));
}

std::set<int> pendingSignalsOf(pid_t process) {
  return signalsIn(statusField(process, "ShdPnd"));
}

unsigned long long contextSwitchesOf(pid_t process) {
  return std::stoull(statusField(process, "voluntary_ctxt_switches")) +
         std::stoull(statusField(process, "nonvoluntary_ctxt_switches"));
}

void waitUntilAsleep(pid_t process) {
  waitUntilIn(process, 'S', "process " + std::to_string(process) + " asleep");
}

void waitUntilStopped(pid_t process) {
  waitUntilIn(process, 'T', "process " + std::to_string(process) + " stopped");
}

void waitUntilEnded(pid_t process) {
  waitUntilIn(process, 'Z', "the end of process " + std::to_string(process));
}

std::string targetOf(pid_t process, int descriptor) {
  return std::filesystem::read_symlink(fileOf(process, "fd/" + std::to_string(descriptor)));
}

void settleEverySource(sim::Unit& unit) {
  unit.settle();
  unit.settle();  // the loop has come round to the uevents again
}

}  // namespace support
