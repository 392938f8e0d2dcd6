#include "bench/worker_reports.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <ctime>

#include "bench/contenders/worker_report.h"
#include "sim/error.h"

namespace bench {

namespace {

sim::Descriptor makePipe(const char* path) {
  // Opened for both, so that there is always a reader, and an open never waits.
  if (::mkfifo(path, 0622) != 0 || ::chmod(path, 0666) != 0) {
    throw sim::systemError(std::string("mkfifo(") + path + ")");
  }
  sim::Descriptor pipe(::open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC));
  if (!pipe.isOpen()) {
    throw sim::systemError(std::string("open(") + path + ")");
  }
  return pipe;
}

/** A worker must never wait for room: a thousand report while nobody reads. */
void enlarge(const sim::Descriptor& pipe) {
  constexpr int bytes = 512 * 1024;
  if (::fcntl(pipe.get(), F_SETPIPE_SZ, bytes) < bytes) {
    throw sim::systemError("enlarging the pipe of reports");
  }
}

}  // namespace

long long nanosecondsNow() {
  constexpr long long nanosecondsPerSecond = 1'000'000'000;
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

WorkerReports::WorkerReports(Workers workers) : reports_(makePipe(BENCH_REPORTS)) {
  enlarge(reports_);
  if (workers == Workers::rest) {
    gate_ = makePipe(BENCH_GATE);
  }
}

std::vector<WorkerStart> WorkerReports::take() const {
  std::vector<WorkerStart> starts;
  worker_report report{};
  while (::read(reports_.get(), &report, sizeof report) == sizeof report) {
    starts.push_back({.nanoseconds = report.nanoseconds, .device = static_cast<const char*>(report.device)});
  }
  return starts;
}

void WorkerReports::openGateFor(std::size_t workers) const {
  if (!gate_.isOpen()) {
    return;
  }
  const std::string passages(workers, '.');
  if (::write(gate_.get(), passages.data(), passages.size()) != static_cast<ssize_t>(passages.size())) {
    throw sim::systemError("opening the gate for " + std::to_string(workers) + " workers");
  }
}

void WorkerReports::closeGate() const {
  std::array<char, 4096> unused;  // NOLINT(cppcoreguidelines-pro-type-member-init): read fills it
  while (gate_.isOpen() && ::read(gate_.get(), unused.data(), unused.size()) > 0) {
  }
}

}  // namespace bench
