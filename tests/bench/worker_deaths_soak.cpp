// Lets ten thousand workers of one daemon end and checks that nothing of them is left.

#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "sim/deadline.h"
#include "sim/error.h"
#include "sim/unit.h"

namespace {

constexpr int deaths = 10'000;
constexpr int deathsWithRestart = 300;  // each takes 150 ms
constexpr int batch = 100;              // how many end about the same time
constexpr int reportEvery = 1'000;
constexpr long toleratedGrowth = 16;  // kB of resident memory since the first report: four pages

/** What the daemon holds at one moment. */
struct Footprint {
  long residentKilobytes;
  std::size_t descriptors;
  std::size_t children;
};

std::ostream& operator<<(std::ostream& out, const Footprint& footprint) {
  return out << footprint.residentKilobytes << " kB resident, " << footprint.descriptors << " descriptors, "
             << footprint.children << " children";
}

long residentKilobytesOf(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string word; status >> word;) {
    if (long kilobytes = 0; word == "VmRSS:" && status >> kilobytes) {
      return kilobytes;
    }
  }
  throw std::runtime_error("the daemon has no resident memory");
}

/** A unit whose generic workers end as soon as they are started. */
class RestlessUnit {
 public:
  RestlessUnit() {
    // The time-out keeps the daemon from beginning to count anew after a while.
    sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = " BENCH_WORKER
                           "\n[usb]\nconnect_fail_timeout = 1000000\n");
    for (int i = 0; i < batch; ++i) {
      devices_.push_back(unit_.sysfs.add(sim::UsbDevice{.name = "1-" + std::to_string(i + 1)}));
    }
    unit_.startDaemon({"transmitter", "5000", "high"});
    awaitMessages("cannot be configured", batch);  // those of coldplug
  }

  /** Each device is announced; its worker cannot configure it, and is not started anew. */
  void letABatchEnd() {
    for (const std::string& device : devices_) {
      unit_.uevents.add(device.substr(std::string("/sys").size()));
    }
    awaitMessages("cannot be configured", batch);
  }

  /** A device whose workers fail one after another, until it is taken out. */
  void letSomeFailAndRestart(int count) {
    const std::string device = unit_.plug(sim::UsbDevice{.name = "failing"});
    constexpr int failuresBefore = 4;
    awaitMessages("cannot be attached until Transmitter available", count - failuresBefore);
    unit_.unplug(device);
    awaitNoChildren();
  }

  [[nodiscard]] Footprint footprint() {
    const sim::Daemon& daemon = unit_.daemon();
    return {residentKilobytesOf(daemon.pid()), daemon.openDescriptors().size(), daemon.children().size()};
  }

 private:
  void awaitMessages(const std::string& text, int count) {
    for (int seen = 0; seen < count;) {
      if (unit_.display.waitForWrite().find(text) != std::string::npos) {
        ++seen;
      }
    }
  }

  void awaitNoChildren() {
    const sim::Deadline deadline;
    while (!unit_.daemon().children().empty()) {
      if (deadline.passed()) {
        throw sim::TimedOut("the daemon to have no child left");
      }
      unit_.uevents.add("/nothing");
    }
  }

  sim::Unit unit_;
  std::vector<std::string> devices_;
};

bool hasGrown(const Footprint& first, const Footprint& last) {
  return last.residentKilobytes > first.residentKilobytes + toleratedGrowth ||
         last.descriptors != first.descriptors || last.children != 0;
}

bool staysFlat() {
  RestlessUnit unit;
  unit.letSomeFailAndRestart(deathsWithRestart);
  int ended = batch + deathsWithRestart;
  while (ended < reportEvery) {
    unit.letABatchEnd();
    ended += batch;
  }
  const Footprint first = unit.footprint();
  std::cout << ended << " workers have ended: " << first << std::endl;
  while (ended < deaths) {
    unit.letABatchEnd();
    ended += batch;
    if (ended % reportEvery == 0) {
      std::cout << ended << " workers have ended: " << unit.footprint() << std::endl;
    }
  }
  return !hasGrown(first, unit.footprint());
}

}  // namespace

int main() {
  try {
    const bool flat = staysFlat();
    std::cout << (flat ? "Nothing of them is left.\n" : "Something of them is left.\n");
    return flat ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "usb_rx_soak: " << error.what() << '\n';
    return 1;
  }
}
