#include "faults/observed_unit.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <iostream>
#include <sstream>

#include "faults/idle_daemon.h"
#include "sim/error.h"
#include "sim/wait.h"

namespace {

constexpr double secondsToBeIdle = 12;        // the wait for a device's attributes takes three
constexpr double secondsOfStillness = 0.004;  // a signal may be on its way
constexpr double secondsForZombies = 0.2;     // the daemon may never wait for a child, after a fault
constexpr double secondsBetweenLooks = 0.001;
constexpr double secondsToReport = 2;
constexpr double secondsToReply = 0.02;  // an idle daemon has sent what it sends
constexpr double secondsToEnd = 1;

void printFact(const std::string& kind, const std::string& text) {
  std::cout << kind << ' ';
  for (const char c : text) {
    if (c == '\n') {
      std::cout << "\\n";
    } else {
      std::cout << c;
    }
  }
  std::cout << '\n';
}

std::string listOf(const std::set<int>& numbers) {
  std::string list;
  for (const int number : numbers) {
    list += (list.empty() ? "" : ",") + std::to_string(number);
  }
  return list;
}

// Sockets and pipes have numbers that differ from run to run.
std::string kindOf(const std::string& target) {
  return target.substr(0, target.find(":["));
}

std::string factsOf(const sim::WorkerStart& start) {
  std::ostringstream facts;
  facts << start.pid << ' ' << start.arguments.back();
  for (const std::string& argument : start.arguments) {
    facts << " '" << argument << "'";
  }
  facts << " in " << start.workingDirectory << ", death signal " << start.parentDeathSignal << ", blocked "
        << listOf(start.blockedSignals) << ", ignored " << listOf(start.ignoredSignals) << ", caught "
        << listOf(start.caughtSignals) << ", descriptors";
  for (const sim::OpenDescriptor& descriptor : start.descriptors) {
    facts << ' ' << descriptor.number << ':' << kindOf(descriptor.target);
  }
  return facts.str();
}

std::string targetOf(pid_t process, int descriptor) {
  std::array<char, PATH_MAX> target{};
  const std::string link = "/proc/" + std::to_string(process) + "/fd/" + std::to_string(descriptor);
  const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
  return length < 0 ? std::string() : std::string(target.data(), static_cast<std::size_t>(length));
}

void letTimePass() {
  sim::serveBackground(sim::Deadline(secondsBetweenLooks));
}

}  // namespace

void ObservedUnit::step(const std::string& name, const std::function<void()>& action) {
  if (hasEnded()) {
    return;
  }
  printFact("step", name);
  try {
    action();
  } catch (const sim::Error&) {
    if (unit.daemonRuns()) {
      printFact("trouble", name);  // with a daemon that runs, each step can be done
    }
  }
  awaitIdle();
  printNews();
}

bool ObservedUnit::hasEnded() {
  return hangs_ || (started_ && !unit.daemonRuns());
}

void ObservedUnit::start(const std::vector<std::string>& arguments) {
  started_ = true;
  unit.startDaemon(arguments);
}

void ObservedUnit::announce(const std::string& directory) const {
  unit.uevents.add(directory.substr(sizeof "/sys" - 1));
}

void ObservedUnit::endWorker(const std::string& device, int status) {
  const auto found = workers_.find(device);
  if (found == workers_.end() || !found->second->isRunning()) {
    return;
  }
  found->second->exitWith(status);
  awaitEndOfWorker(device);
}

void ObservedUnit::awaitEndOfWorker(const std::string& device) {
  const auto found = workers_.find(device);
  const sim::Deadline deadline(secondsToEnd);
  while (found != workers_.end() && sim::isRunning(found->second->start.pid) && !deadline.passed()) {
    letTimePass();
  }
}

void ObservedUnit::send(const std::string& client, const std::string& message) {
  if (unit.daemonRuns()) {
    clients_[client].connection =
        std::make_unique<sim::LinkManager>(unit.connect(sim::Deadline(secondsToReport)));
    clients_[client].connection->send(message);
  }
}

void ObservedUnit::takeReports() {
  while (unit.workers.count() > reported_.size()) {
    sim::Worker& worker = unit.workers.waitForWorker(sim::Deadline(secondsToReport));
    reported_.insert(worker.start.pid);
    workers_[worker.device()] = &worker;
    printFact("worker", factsOf(worker.start));
  }
}

bool ObservedUnit::allWorkersHaveReported() {
  const std::vector<pid_t> children = unit.daemon().children();
  return std::all_of(children.begin(), children.end(),
                     [this](pid_t child) { return reported_.contains(child) || isZombie(child); });
}

void ObservedUnit::awaitReports() {
  const sim::Deadline deadline(secondsToReport);
  try {
    takeReports();
    while (unit.daemonRuns() && !allWorkersHaveReported() && !deadline.passed()) {
      letTimePass();
      takeReports();
    }
  } catch (const sim::Error&) {
    if (unit.daemonRuns()) {
      throw;  // else the kernel has ended a generic worker within its report
    }
  }
}

bool ObservedUnit::isIdle() {
  const pid_t daemon = unit.daemon().pid();
  const sim::Deadline stillness(secondsOfStillness);
  const sim::Deadline zombies(secondsForZombies);
  while (!stillness.passed() || (hasZombie(daemon) && !zombies.passed())) {
    if (!sleepsInSelect(daemon)) {
      return false;
    }
    letTimePass();
  }
  return true;
}

void ObservedUnit::awaitIdle() {
  const sim::Deadline deadline(secondsToBeIdle);
  while (unit.daemonRuns() && !isIdle()) {
    if (deadline.passed()) {
      hangs_ = true;
      return;
    }
    letTimePass();
  }
  awaitReports();
}

void ObservedUnit::printNews() {
  for (const std::string& message : unit.daemon().takeMessages()) {
    printFact("log", message);
  }
  for (const std::string& write : unit.display.takeWrites()) {
    printFact("display", write);
  }
  printReplies();
}

void ObservedUnit::printReplies() {
  for (auto& [name, client] : clients_) {
    try {
      while (client.open) {
        const std::string part = client.connection->receive(sim::Deadline(secondsToReply));
        client.open = !part.empty();
        std::string fact = name;
        fact += client.open ? " gets " : " is closed";
        printFact("reply", fact.append(part));
      }
    } catch (const sim::TimedOut&) {
      // Nothing more for now.
    } catch (const sim::Error&) {
      client.open = false;
      printFact("reply", name + " is cut off");
    }
  }
}

void ObservedUnit::printDescriptors() {
  for (const int descriptor : unit.daemon().openDescriptors()) {
    const std::string target = targetOf(unit.daemon().pid(), descriptor);
    printFact("open", target.substr(0, target.find(":[")));
  }
}

void ObservedUnit::printOutput() {
  std::istringstream output(unit.daemon().standardOutput());
  for (std::string line; std::getline(output, line);) {
    printFact("output", line);
  }
}

// The kernel ends the generic ones with the daemon; the others live on.
void ObservedUnit::printWorkersLeft() {
  for (const auto& [device, worker] : workers_) {
    if (worker->start.parentDeathSignal != 0) {
      awaitEndOfWorker(device);
    }
    if (worker->isRunning()) {
      printFact("left", device);
    }
  }
}

void ObservedUnit::endByClosing(const std::string& client) {
  if (!hasEnded()) {
    printFact("step", "the end");
    printDescriptors();
    clients_.erase(client);
  }
  try {
    std::ostringstream end;
    end << unit.daemon().waitForExit(sim::Deadline(hangs_ ? 0 : secondsToEnd));
    printNews();
    printFact("end", end.str());
    printOutput();
    printWorkersLeft();
  } catch (const sim::TimedOut&) {
    printNews();
    printFact("end", "hang");
  }
}
