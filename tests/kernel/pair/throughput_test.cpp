// How fast a travelling disk is read, beside the tools that come with the kernel's sources.

#include <algorithm>
#include <filesystem>

#include "kernel/guest/serial_port.h"
#include "kernel/pair/travel.h"
#include "sim/error.h"
#include "sim/files.h"

namespace pair {
namespace {

constexpr int turns = 4;
constexpr int readsInATurn = 3;
/** Of what the kernel's tools reach. Both let the kernels carry the data: there is nothing to lose it by. */
constexpr double leastShare = 0.9;

/** In megabytes a second; other work on the emulating machine spoils some of them, of either side. */
using Rates = std::vector<double>;

double median(Rates rates) {
  std::sort(rates.begin(), rates.end());
  return rates[rates.size() / 2];
}

class Throughput : public Travel {
 protected:
  /** Has the far machine read the disk several times, past its cache. */
  void read(const std::string& disk, Rates& rates) {
    const double megabytes = std::stod(far.read("blockdev --getsize64 " + disk)) / 1e6;
    for (int i = 0; i < readsInATurn; ++i) {
      const StopWatch sinceStart;
      far.read("dd if=" + disk + " of=/dev/null bs=64k iflag=direct", sim::Deadline(60));
      rates.push_back(megabytes / sinceStart.seconds());
    }
  }

  void readThroughWorkers(Rates& rates) {
    startBothEnds();
    const guest::PluggedDevice disk = desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
    read(waitForDisk(), rates);
    desk.takeOut(disk);
    farProgram.waitForGone();
    stopUnit();
    farProgram.stop();
  }

  void readThroughKernelsTools(Rates& rates) {
    const guest::PluggedDevice disk = desk.plug(guest::diskOf(randomDisk), guest::highSpeedSocket(1));
    waitForDriver(disk, "usb-storage");
    const std::string busId = std::filesystem::path(disk.directory).filename();
    runHere("usbip bind -b " + busId);
    runHere("usbipd -D -P/tmp/usbipd.pid");
    far.waitUntil("usbip attach -r receiver -b " + busId);
    read(waitForDisk(), rates);
    far.read("usbip detach -p 00");
    waitForDisks(0);
    runHere("kill $(cat /tmp/usbipd.pid)");
    runHere("usbip unbind -b " + busId);
    desk.takeOut(disk);
  }

  void runHere(const std::string& command) {
    const sim::ScriptRun run = script.shell(command);
    if (run.end != sim::ProcessEnd::exited(0)) {
      throw sim::Error(command + ": " + run.output);
    }
  }
};

TEST_F(Throughput, OfADiskIsThatOfTheKernelsTools) {
  Rates own;
  Rates tools;
  for (int turn = 0; turn < turns; ++turn) {
    readThroughWorkers(own);
    readThroughKernelsTools(tools);
  }
  std::printf("%.1f MB/s; with usbip and usbipd %.1f MB/s (medians of %zu): %.0f %%\n", median(own),
              median(tools), own.size(), 100 * median(own) / median(tools));
  EXPECT_GE(median(own), leastShare * median(tools));
}

}  // namespace
}  // namespace pair
