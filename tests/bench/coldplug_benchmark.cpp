// How much coldplug costs beside what cannot be saved: a fork and an exec for each device.

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "ctrl/rx_ctrl.h"
#include "hotplug/coldplug.h"
#include "sim/files.h"
#include "sim/namespaces.h"
#include "sim/sysfs.h"

namespace {

using Seconds = std::chrono::duration<double>;

/** A unit of its own for this process with devices on its bus that all go to a generic worker. */
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
  static void forkAndExec(std::string device) {
    if (fork() == 0) {
      std::array<char, 15> name{"usb_rx_generic"};
      std::array<char, 5> interface { "eth1" };
      std::array<char, 12> hostname{"transmitter"};
      std::array<char, 5> port{"5000"};
      std::array<char*, 6> arguments{name.data(), interface.data(), hostname.data(),
                                     port.data(), device.data(),    nullptr};
      execvp(arguments[0], arguments.data());
      _exit(1);
    }
  }

  static void awaitChildren() {
    while (wait(nullptr) != -1) {
    }
  }

  struct World : sim::Namespaces {
    World() { sim::writeFile("/vel/quor.conf", ""); }
  };

  World world_;
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
