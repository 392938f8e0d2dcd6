#include "bench/storms/crowded_unit.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <string_view>

#include "sim/error.h"
#include "sim/process_table.h"
#include "sim/query_crowd.h"
#include "sim/wait.h"

namespace bench {

namespace {

constexpr double patience = 600;
constexpr double secondsBetweenLooks = 0.01;

std::string devpathOf(const std::string& directory) {
  return directory.substr(std::string_view("/sys").size());
}

/** The value of a line of /proc/PID/status, empty where there is none. */
std::string statusOf(pid_t process, const std::string& name) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name + ":")) {
      return line.substr(line.find_first_not_of(" \t", name.size() + 1));
    }
  }
  return {};
}

/** A resting worker catches its orders; a child that is about to execute it has handlers of the daemon at most. */
bool rests(pid_t worker) {
  constexpr unsigned long long orders = (1ULL << (SIGUSR1 - 1)) | (1ULL << (SIGUSR2 - 1));
  const std::string caught = statusOf(worker, "SigCgt");
  return !caught.empty() && (std::stoull(caught, nullptr, 16) & orders) == orders;
}

bool isStopped(pid_t process) {
  return statusOf(process, "State").starts_with("T");
}

/** The time-out keeps the daemon from beginning to count failures anew after a while. */
void writeConfiguration() {
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = " BENCH_RESTING_WORKER
                         "\n[usb]\nconnect_fail_timeout = 1000000\n");
}

}  // namespace

CrowdedUnit::CrowdedUnit(int devices, const std::vector<std::string>& options) : arguments_(options) {
  unit_.emplace();
  writeConfiguration();
  arguments_.insert(arguments_.end(), {"transmitter", "5000", "high"});
  for (int i = 0; i < devices; ++i) {
    devices_.push_back(addDevice());
  }
}

CrowdedUnit::~CrowdedUnit() {
  unit_.reset();
  // The workers come back to this process, which has no other children now.
  while (::wait(nullptr) != -1) {
  }
}

std::string CrowdedUnit::addDevice() {
  return unit_->sysfs.add(sim::UsbDevice{.name = "1-" + std::to_string(++plugged_)});
}

void CrowdedUnit::startDaemon() {
  unit_->startDaemon(arguments_);
  awaitWorkers(devices_.size());
  settle();
}

std::string CrowdedUnit::deliverLink() {
  const std::string line = sim::LinkParameters().line();
  link_.emplace(unit_->connect());
  link_->send(line);
  settle();
  return line;
}

std::string CrowdedUnit::plug() {
  const std::string directory = addDevice();
  announce("add", directory);
  return directory;
}

void CrowdedUnit::announce(const std::string& action, const std::string& directory) {
  unit_->uevents.send(
      sim::uevent(action, devpathOf(directory), {{"SUBSYSTEM", "usb"}, {"DEVTYPE", "usb_device"}}));
}

std::string CrowdedUnit::deviceOf(pid_t worker) {
  std::ifstream arguments("/proc/" + std::to_string(worker) + "/cmdline");
  std::string last;
  for (std::string argument; std::getline(arguments, argument, '\0');) {
    last = argument;
  }
  return last;
}

void CrowdedUnit::await(const std::string& awaited, const std::function<bool()>& condition) {
  const sim::Deadline deadline(patience);
  while (!condition()) {
    if (!unit_->daemonRuns()) {
      throw sim::Error("the daemon has ended before " + awaited + ":\n" + unit_->daemon().standardError());
    }
    if (deadline.passed()) {
      throw sim::TimedOut(awaited);
    }
    sim::serveBackground(deadline.atMost(secondsBetweenLooks));
  }
}

void CrowdedUnit::settle() {
  await("an empty queue of uevents", [] {
    const std::vector<sim::UeventSender::Listener> listeners = sim::UeventSender::listeners();
    return !listeners.empty() && listeners.front().queuedBytes == 0;
  });
  sim::LinkManager client = unit_->connect(sim::Deadline(patience));
  client.send("?");
  static_cast<void>(client.receiveAll(sim::Deadline(patience)));
}

void CrowdedUnit::awaitWorkers(std::size_t count) {
  await(std::to_string(count) + " workers", [&] { return workers().size() == count; });
  for (const pid_t worker : workers()) {
    await("a worker to rest", [worker] { return rests(worker); });
  }
}

void CrowdedUnit::stopDaemon() {
  unit_->daemon().signal(SIGSTOP);
  await("the daemon's stop", [this] { return isStopped(daemon()); });
}

void CrowdedUnit::resumeDaemon() {
  unit_->daemon().signal(SIGCONT);
}

}  // namespace bench
