// What it takes to forget a worker that has ended and to record the next one of its device.

#include "ctrl/worker_table.h"

#include <cstddef>
#include <string>
#include <vector>

#include "bench/parts/allocation_counters.h"

namespace {

std::vector<std::string> pathsOf(std::size_t devices) {
  std::vector<std::string> paths;
  for (std::size_t i = 1; i <= devices; ++i) {
    paths.push_back("/sys/devices/pci0000:00/0000:00:03.0/usb1/1-4/1-4." + std::to_string(i));
  }
  return paths;
}

/** Each device in turn, so that the worker that ends is the oldest. */
void replaceWorker(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const std::vector<std::string> paths = pathsOf(count);
  WorkerTable table;
  pid_t oldest = 1;
  pid_t next = oldest;
  for (const std::string& path : paths) {
    table.add(next++, path);
  }
  std::size_t device = 0;
  const bench::AllocationCounters allocations(state);
  while (state.KeepRunning()) {
    table.remove(oldest++);
    table.add(next++, paths[device]);
    device = (device + 1) % count;
  }
}

BENCHMARK(replaceWorker)->Arg(10)->Arg(5000);

}  // namespace
