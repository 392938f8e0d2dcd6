#include "kernel/pair/travel.h"

#include <sys/prctl.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include "sim/error.h"
#include "sim/files.h"
#include "sim/wait.h"

namespace pair {

namespace {

namespace fs = std::filesystem;

constexpr const char* syslogSocket = "/dev/log";
constexpr const char* workerProgram = "usb_rx_usbip";
constexpr double betweenLooks = 0.005;  // seconds; an emulated machine takes four times as many

constexpr const char* diskNodes = "ls -d /sys/devices/platform/vhci_hcd.*/usb*/*/*/host*/target*/*/block/*";

/** For what wakes nobody: processes have no events for one who is not their parent. */
template <class Condition>
void lookUntil(const std::string& awaited, const Condition& condition) {
  for (const sim::Deadline deadline; !condition(); sim::serveBackground(sim::Deadline(betweenLooks))) {
    if (deadline.passed()) {
      throw sim::TimedOut(awaited);
    }
  }
}

bool isProcess(const fs::path& entry) {
  return std::isdigit(static_cast<unsigned char>(entry.filename().string().front())) != 0;
}

/** The first word of a process's command line; empty for one that has ended. */
std::string programOf(const fs::path& process) {
  try {
    const std::string words = sim::readFile(process / "cmdline");
    return words.substr(0, words.find('\0'));
  } catch (const sim::Error&) {
    return {};
  }
}

std::string driverAt(const fs::path& directory) {
  std::error_code error;
  return fs::read_symlink(directory / "driver", error).filename();
}

}  // namespace

Travel::Travel() : syslog(syslogSocket), farProgram(far), script({"/bin/sh"}, "/etc/init.d/usb_rx_ctrl") {
  // As on every unit, processes that have lost their parent go to the first process, not to this one.
  ::prctl(PR_SET_CHILD_SUBREAPER, 0);
  display.makeFifo();
  display.openReader();
}

void Travel::TearDown() {
  stopUnit();
  display.removeFifo();
  fs::remove(contract::configurationPath);
  fs::remove(syslogSocket);
}

void Travel::startUnit(const UnitSettings& settings) {
  sim::writeFile(contract::configurationPath,
                 std::string("[apps]\nquor_usb_rx_generic = ") + workerProgram + "\n[usb]\n" + settings.usb);
  sim::StartScript::setArguments(settings.options, std::to_string(FarProgram::port));
  sim::writeFile(sim::StartScript::argumentsFile,
                 sim::readFile(sim::StartScript::argumentsFile) + "USB_RX_HOST=" + settings.host + "\n");
  const sim::ScriptRun start = script.call("start");
  if (start.end != sim::ProcessEnd::exited(0)) {
    throw sim::Error("the unit does not start: " + start.output);
  }
  syslog.waitForText(contract::debug::hotplugging);
}

void Travel::startBothEnds() {
  farProgram.start("--allow-any-peer");
  startUnit();
}

void Travel::stopUnit() {
  script.call("stop");
  waitUntilNoWorkerRuns();
}

pid_t Travel::daemon() {
  return sim::StartScript::waitForDaemonAfter(0);
}

std::vector<pid_t> Travel::workers() {
  std::vector<pid_t> found;
  for (const fs::path& entry : sim::entriesOf("/proc")) {
    if (isProcess(entry) && programOf(entry) == workerProgram) {
      found.push_back(std::stoi(entry.filename().string()));
    }
  }
  return found;
}

pid_t Travel::waitForWorker() {
  return waitForWorkerAfter(0);
}

pid_t Travel::waitForWorkerAfter(pid_t former) {
  std::vector<pid_t> found;
  lookUntil("a worker after " + std::to_string(former), [&] {
    found = workers();
    return found.size() == 1 && found.front() != former;
  });
  return found.front();
}

void Travel::waitUntilNoWorkerRuns() {
  lookUntil("the end of every worker", [] { return workers().empty(); });
}

std::string Travel::driverOf(const guest::PluggedDevice& device) {
  return driverAt(device.directory);
}

std::string Travel::driverOf(const guest::PluggedDevice& device, const std::string& interface) {
  const fs::path directory = device.directory;
  return driverAt(directory / (directory.filename().string() + ":" + interface));
}

void Travel::waitForDriver(const guest::PluggedDevice& device, const std::string& driver) {
  sim::waitUntil("the driver " + driver + " of " + device.directory, {},
                 [&] { return driverOf(device, "1.0") == driver; });
}

std::vector<std::string> Travel::waitForDisks(std::size_t count) {
  std::istringstream nodes(far.waitUntil(std::string("set -- $(") + diskNodes + ")\n[ $# = " +
                                         std::to_string(count) + " ] && for node; do echo \"$node\"; done"));
  std::vector<std::string> disks;
  for (std::string node; std::getline(nodes, node) && !node.empty();) {
    disks.push_back("/dev/" + fs::path(node).filename().string());
  }
  return disks;
}

std::string Travel::waitForDisk() {
  return waitForDisks(1).front();
}

void Travel::waitForInputs(int count) {
  far.waitUntil("[ $(ls -d /sys/devices/platform/vhci_hcd.*/usb*/*/*/*/input/input* | wc -l) = " +
                std::to_string(count) + " ]");
}

void Travel::expectContentOf(const std::string& farDisk, const std::string& sha256) {
  EXPECT_EQ(far.read("sha256sum <" + farDisk, sim::Deadline(60)), sha256 + "  -");
}

double StopWatch::seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void StopWatch::print(const std::string& what) const {
  std::printf("%s: %.2f s\n", what.c_str(), seconds());
}

}  // namespace pair
