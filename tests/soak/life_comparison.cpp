// Where a daemon's life is compared with its model.

#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <numeric>
#include <set>
#include <sstream>

#include "sim/contract.h"
#include "sim/files.h"
#include "soak/broken.h"
#include "soak/life.h"
#include "soak/shown_device.h"

namespace soak {

namespace {

namespace fs = std::filesystem;
namespace debug = contract::debug;

constexpr std::size_t ownDescriptors = 8;  // standard ones, control socket, uevents, pipe, display

std::string inLines(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) {
    all += "  \"" + text + "\"\n";
  }
  return all.empty() ? "  nothing\n" : all;
}

std::string inOne(const std::vector<std::string>& texts) {
  return std::accumulate(texts.begin(), texts.end(), std::string());
}

/** The entries of a directory as the devpaths that coldplug makes of them. */
std::set<std::string> devpathsIn(const std::string& directory) {
  std::set<std::string> found;
  if (fs::exists("/sys" + directory)) {
    for (const fs::path& entry : sim::entriesOf("/sys" + directory)) {
      found.insert(directory + "/" + entry.filename().string());
    }
  }
  return found;
}

bool isBootKeyboard(const std::string& devpath) {
  const std::string interface = "/sys" + devpath + "/device";
  return fs::path(devpath).filename().string().starts_with("hiddev") && showsKeyboard(interface + "/..") &&
         std::stoul(neededAttribute(interface, "bInterfaceSubClass"), nullptr, 16) == 1;
}

}  // namespace

void Life::compareColdplug() {
  struct Pass {
    std::set<std::string> devpaths;
    const char* begin;
  };
  std::deque<Pass> passes{{devpathsIn("/bus/usb/devices"), debug::coldplugging}};
  if (model_.options().keyboards && fs::exists("/sys/class/usb")) {
    std::set<std::string> nodes = devpathsIn("/class/usb");
    std::erase_if(nodes, [](const std::string& devpath) { return !isBootKeyboard(devpath); });
    passes.push_back({nodes, debug::coldpluggingKeyboards});
  }
  if (model_.options().disks && fs::exists("/sys/class/scsi_generic")) {
    passes.push_back({devpathsIn("/class/scsi_generic"), debug::coldpluggingStorage});
  }
  passes.push_back({{}, debug::hotplugging});
  // Within a pass the devices come in any order: the log says which.
  const std::vector<std::string> lines = std::exchange(log_, {});
  model_.log(debug::hangupHandler);
  model_.log(passes.front().begin);
  for (const std::string& line : lines) {
    while (model_.expected.log.empty() && !passes.empty()) {
      const auto isNext = [&](const std::string& devpath) {
        return line == debug::line(debug::event("add", devpath));
      };
      std::set<std::string>& due = passes.front().devpaths;
      const auto next = std::ranges::find_if(due, isNext);
      if (next != due.end()) {
        model_.event("add", *next);
        due.erase(next);
      } else if (due.empty() && passes.size() > 1) {
        passes.pop_front();
        model_.log(passes.front().begin);
      } else {
        throw Broken("at its start the daemon logged \"" + line + "\"");
      }
    }
    match(line);
  }
}

void Life::compare() {
  compareLog();
  compareDisplay();
  meetWorkers();
  checkHoldings();
}

void Life::compareLog() {
  collectLog();
  for (const std::string& line : log_) {
    if (model_.expected.log.empty()) {
      expectFrom(line);
    }
    match(line);
  }
  log_.clear();
  if (!model_.expected.log.empty()) {
    throw Broken("the daemon did not log \"" + model_.expected.log.front() + "\"");
  }
  if (!sent_.empty()) {
    throw Broken("the daemon did not handle the event " + sent_.front().first + " " + sent_.front().second);
  }
  standardOutput_ += std::exchange(model_.expected.standardOutput, "");
}

// The log says in which order the daemon met events and ended workers.
void Life::expectFrom(const std::string& line) {
  std::istringstream words(line);
  std::string tag;
  std::string subject;
  pid_t worker = 0;
  words >> tag >> subject >> worker;
  const auto end = ending_.find(worker);
  if (subject == "subprocess" && end != ending_.end()) {
    model_.ended(worker, end->second);
    unit_.workers.forget(*running_.at(worker).worker);
    running_.erase(worker);
    ending_.erase(end);
    ++counts_.deaths;
  } else if (!sent_.empty()) {
    model_.event(sent_.front().first, sent_.front().second);
    sent_.pop_front();
  }
}

void Life::match(const std::string& line) {
  if (model_.expected.log.empty()) {
    throw Broken("the daemon logged \"" + line + "\" where nothing was expected");
  }
  if (model_.expected.log.front() != line) {
    throw Broken("the daemon logged \"" + line + "\" instead of \"" + model_.expected.log.front() + "\"");
  }
  model_.expected.log.pop_front();
}

void Life::compareDisplay() {
  const std::vector<std::string> shown = unit_.display.takeWrites();
  const std::vector<std::string> expected = std::exchange(model_.expected.display, {});
  // Before the display knows its writer, a text of two lines looks like two writes.
  const bool isStart = !std::exchange(hasStarted_, true);
  if (isStart ? inOne(shown) != inOne(expected) : shown != expected) {
    throw Broken("the display showed\n" + inLines(shown) + "instead of\n" + inLines(expected));
  }
}

void Life::meetWorkers() {
  for (const Launch& launch : model_.expected.launches) {
    meetWorker(launch);
  }
  model_.expected.launches.clear();
  std::set<pid_t> workers;
  for (const auto& [worker, device] : model_.workers()) {
    workers.insert(worker);
  }
  const std::vector<pid_t> children = unit_.daemon().children();
  if (std::set<pid_t>(children.begin(), children.end()) != workers) {
    throw Broken("the daemon has " + std::to_string(children.size()) + " children instead of " +
                 std::to_string(workers.size()) + " workers");
  }
}

void Life::meetWorker(const Launch& launch) {
  sim::Worker& worker = unit_.workers.waitForWorkerOf(launch.arguments.back());
  const sim::WorkerStart& start = worker.start;
  if (start.arguments != launch.arguments) {
    throw Broken("a worker was started with\n" + inLines(start.arguments) + "instead of\n" +
                 inLines(launch.arguments));
  }
  if (start.parent != unit_.daemon().pid() || start.workingDirectory != "/" ||
      start.descriptors.size() != 3 || start.parentDeathSignal != (launch.endsWithDaemon ? SIGTERM : 0)) {
    throw Broken("the worker of " + launch.device + " was not started as it should be");
  }
  if (!start.blockedSignals.empty() || !start.ignoredSignals.empty() || !start.caughtSignals.empty()) {
    throw Broken("the worker of " + launch.device + " was started with other than usual signals");
  }
  running_[start.pid] = {&worker, launch.endsWithDaemon};
  model_.started(start.pid, launch.device);
  ++counts_.launches;
}

std::set<int> Life::holdingsWithoutClients() const {
  const std::vector<int> open = unit_.daemon().openDescriptors();
  if (open.size() != ownDescriptors) {
    throw Broken("the daemon has " + std::to_string(open.size()) + " descriptors without any client");
  }
  return {open.begin(), open.end()};
}

void Life::checkHoldings() {
  const std::vector<int> open = unit_.daemon().openDescriptors();
  const std::set<int> expected = control_.descriptors();
  if (std::set<int>(open.begin(), open.end()) != expected) {
    throw Broken("the daemon has " + std::to_string(open.size()) + " descriptors instead of " +
                 std::to_string(expected.size()));
  }
  footprint_.check(unit_.daemon().pid(), model_.options().socketPath);
}

void Life::expectEnd(const sim::ProcessEnd& end, const std::string& lastWords) {
  const sim::ProcessEnd ended = unit_.daemon().waitForExit();
  if (!lastWords.empty()) {
    model_.expected.log.push_back(lastWords);
    model_.expected.log.emplace_back("");
  }
  compareLog();
  compareDisplay();
  if (ended != end) {
    std::ostringstream text;
    text << "the daemon ended with " << ended << " instead of " << end;
    throw Broken(text.str());
  }
  if (unit_.daemon().standardOutput() != standardOutput_) {
    throw Broken("the daemon's standard output is \"" + unit_.daemon().standardOutput() + "\"");
  }
  for (const auto& [pid, running] : running_) {
    if (running.endsWithDaemon) {
      running.worker->waitForEnd();
      ::waitpid(pid, nullptr, 0);
      unit_.workers.forget(*running.worker);
    } else if (!running.worker->isRunning()) {
      throw Broken("the worker of " + model_.workers().at(pid) + " has ended with the daemon");
    } else {
      orphans_.push_back(running.worker);
    }
  }
  hasEnded_ = true;
}

}  // namespace soak
