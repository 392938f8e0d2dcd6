// How much coldplug costs beyond what no daemon can save: a fork and an exec for each device.

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "ctrl/device_classes.h"
#include "ctrl/rx_ctrl.h"
#include "hotplug/coldplug.h"
#include "sim/files.h"
#include "sim/namespaces.h"
#include "sim/sysfs.h"

namespace {

using Seconds = std::chrono::duration<double>;

/** A unit for this process alone, with devices on its bus that all go to a generic worker. */
class BusyUnit {
 public:
  explicit BusyUnit(int devices) : devices_(devices) {
    std::filesystem::create_symlink(BENCH_WORKER, "/sim/usb_rx_generic");
    setenv("PATH", "/sim", 1);
    for (int i = 1; i <= devices; ++i) {
      sim::UsbDevice device;
      device.name = "1-" + std::to_string(i);
      sysfs_.add(device);
    }
  }

  Seconds coldplugAll() {
    const auto start = std::chrono::steady_clock::now();
    coldplug(ctrl_);
    const Seconds taken = std::chrono::steady_clock::now() - start;
    if (ctrl_.workers.byPid.size() != static_cast<std::size_t>(devices_)) {
      std::abort();  // something else was measured
    }
    ctrl_.workers = {};
    awaitChildren();
    return taken;
  }

  /** The same processes, started by nothing but the two calls. */
  [[nodiscard]] Seconds forkAndExecAll() const {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 1; i <= devices_; ++i) {
      forkAndExec("/sys/devices/platform/usb-host.0/usb1/1-" + std::to_string(i));
    }
    const Seconds taken = std::chrono::steady_clock::now() - start;
    awaitChildren();
    return taken;
  }

 private:
  static void forkAndExec(const std::string& device) {
    if (fork() == 0) {
      execlp("usb_rx_generic", "usb_rx_generic", "eth1", "transmitter", "5000", device.c_str(), nullptr);
      _exit(1);
    }
  }

  static void awaitChildren() {
    while (wait(nullptr) != -1) {
    }
  }

  struct EmptyUnit : sim::Namespaces {
    EmptyUnit() { sim::writeFile("/vel/quor.conf", ""); }
  };

  EmptyUnit emptyUnit_;
  sim::Sysfs sysfs_;
  RxCtrl ctrl_{"transmitter", 5000, "high", allClasses, nullptr, nullptr, "10", "/sim/socket", "eth1"};
  int devices_;
};

/** Time is coldplug's; `ratio` is that to bare forks and execs, which take turns with it. */
void coldplugBesideForkAndExec(benchmark::State& state) {
  BusyUnit unit(static_cast<int>(state.range(0)));
  Seconds coldplugTime{};
  Seconds forkAndExecTime{};
  while (state.KeepRunning()) {
    forkAndExecTime += unit.forkAndExecAll();
    const Seconds taken = unit.coldplugAll();
    coldplugTime += taken;
    state.SetIterationTime(taken.count());
  }
  state.counters["ratio"] = coldplugTime / forkAndExecTime;
}

BENCHMARK(coldplugBesideForkAndExec)
    ->Arg(1000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);

}  // namespace
