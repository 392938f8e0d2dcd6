#include "bench/measured_unit.h"

#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "sim/synthetic_device.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

/** The first place where the daemon looks for a generic worker that its configuration does not name. */
constexpr const char* workerPlace = "/sim/bin/usb_rx_generic";

/** More than any measurement starts. */
constexpr std::size_t allWorkers = 4096;

WorkerReports::Workers conductOf(const Contender& contender) {
  return contender.keepsWorkers() ? WorkerReports::Workers::rest : WorkerReports::Workers::endAtOnce;
}

/** Those whose contender has ended are this process's children then. */
void reapOrphans() {
  while (::waitpid(-1, nullptr, 0) != -1 || errno == EINTR) {
  }
}

}  // namespace

MeasuredUnit::MeasuredUnit(const Contender& contender)
    : contender_(contender), reports(conductOf(contender)) {
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  fs::create_directories(fs::path(workerPlace).parent_path());
  fs::copy_file(BENCH_WORKER, workerPlace);
  contender_.configure(workerPlace);
}

MeasuredUnit::~MeasuredUnit() {
  end();
}

std::vector<std::string> MeasuredUnit::addDevices(int count) {
  std::vector<std::string> devices;
  for (int number = 1; number <= count; ++number) {
    devices.push_back(sysfs.add(sim::UsbDevice{.name = "1-" + std::to_string(number)}));
  }
  return devices;
}

std::vector<std::string> MeasuredUnit::command(const std::vector<std::string>& devices) const {
  return contender_.command(workerPlace, devices);
}

void MeasuredUnit::start(const std::vector<std::string>& devices) {
  running_ = std::make_unique<RunningContender>(contender_, command(devices));
  if (!devices.empty()) {
    contender_.offer(devices, kernel);
  }
}

void MeasuredUnit::startAtWork() {
  start();
  running_->awaitListening();
  clients_ = contender_.connectClients();
  running_->awaitRest();
}

void MeasuredUnit::end() {
  running_.reset();
  clients_.reset();
  reports.openGateFor(allWorkers);
  reapOrphans();
  reports.closeGate();
  static_cast<void>(reports.take());
}

long long MeasuredUnit::awaitLastStart(std::size_t workers) {
  std::size_t count = 0;
  long long last = 0;
  running_->await(std::to_string(workers) + " workers", [&] {
    for (const WorkerStart& start : reports.take()) {
      ++count;
      last = std::max(last, start.nanoseconds);
    }
    return count >= workers;
  });
  return last;
}

void MeasuredUnit::endWorkers(std::size_t workers) {
  reports.openGateFor(workers);
  running_->awaitRest();
}

}  // namespace bench
