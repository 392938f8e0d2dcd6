// Devices that come and go again and again leave nothing behind at either end.

#include <cstdlib>
#include <sstream>

#include "kernel/pair/travel.h"
#include "sim/files.h"
#include "sim/process_table.h"

namespace pair {
namespace {

/**
 * What the kernel may hold more after all rounds than before. Five rounds were seen to move it by up to 120 kB, in either
 * direction. In 250 rounds of four devices that is 512 bytes for each: less than the kernel's object of a device has.
 */
constexpr long kilobytesThatMayStay = 500;

/** Rounds until caches, tables and logs have their sizes. */
constexpr int roundsToWarmUp = 3;

constexpr int devicesInARound = 4;

constexpr const char* printMemory = "echo 3 >/proc/sys/vm/drop_caches; cat /proc/meminfo";
constexpr const char* countProcesses = "readlink /proc/[0-9]*/exe | wc -l";
constexpr const char* countThreadsOfDrivers = "cat /proc/[0-9]*/comm | grep -c '^vhci_\\|^stub_'";

/** What one machine holds at a moment at which nothing travels. */
struct Holdings {
  long kernelKilobytes = 0;
  std::string processes;
  std::string threadsOfDrivers;
  std::size_t descriptors = 0;  ///< of the program that stays: the daemon, or the far side's
};

/** The kernel's own memory that it cannot reclaim, from the content of /proc/meminfo. */
long kernelKilobytesIn(const std::string& memory) {
  long sum = 0;
  std::istringstream lines(memory);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string name;
    long kilobytes = 0;
    words >> name >> kilobytes;
    if (name == "SUnreclaim:" || name == "KernelStack:" || name == "PageTables:" || name == "VmallocUsed:" ||
        name == "Percpu:") {
      sum += kilobytes;
    }
  }
  return sum;
}

void expectSame(const std::string& machine, const Holdings& before, const Holdings& after) {
  const long more = after.kernelKilobytes - before.kernelKilobytes;
  std::printf("%s: the kernel holds %ld kB more than before (%ld kB)\n", machine.c_str(), more,
              before.kernelKilobytes);
  EXPECT_LE(more, kilobytesThatMayStay) << machine;
  EXPECT_EQ(after.processes, before.processes) << machine;
  EXPECT_EQ(after.threadsOfDrivers, before.threadsOfDrivers) << machine;
  EXPECT_EQ(after.descriptors, before.descriptors) << machine;
}

int roundsFromEnvironment() {
  const char* text = std::getenv("TRAVEL_ROUNDS");
  return text == nullptr ? 1 : std::stoi(text);
}

class Rounds : public Travel {
 protected:
  void playRound() {
    const std::vector<guest::PluggedDevice> devices{desk.plug(guest::disk(), guest::socketOf("xhci", 1)),
                                                    desk.plug(guest::keyboard(), guest::highSpeedSocket(1)),
                                                    desk.plug(guest::mouse(), guest::fullSpeedSocket(1)),
                                                    desk.plug(guest::disk(), guest::highSpeedSocket(2))};
    travelled_ += devicesInARound;
    farProgram.waitForAttached(travelled_);
    // A device that goes while the far kernel looks at it may hold up that kernel's hubs for a minute.
    waitForDisks(2);
    waitForInputs(2);
    for (const guest::PluggedDevice& device : devices) {
      desk.takeOut(device);
    }
    farProgram.waitForGone(travelled_);
    waitUntilNoWorkerRuns();
    waitForDisks(0);
  }

  Holdings receiversHoldings() {
    return {.kernelKilobytes = kernelKilobytesIn(script.shell(printMemory).output),
            .processes = script.shell(countProcesses).output,
            .threadsOfDrivers = script.shell(countThreadsOfDrivers).output,
            .descriptors = sim::openDescriptorsOf(daemon()).size()};
  }
  Holdings farMachinesHoldings() {
    return {.kernelKilobytes = kernelKilobytesIn(far.read(printMemory)),
            .processes = far.read(countProcesses),
            .threadsOfDrivers = far.call(countThreadsOfDrivers).output,
            .descriptors = farProgram.openDescriptors()};
  }

 private:
  int travelled_ = 0;
};

TEST_F(Rounds, LeaveNothingBehindAtEitherEnd) {
  const int rounds = roundsFromEnvironment();
  startBothEnds();
  for (int round = 0; round < roundsToWarmUp; ++round) {
    playRound();
  }
  const Holdings receiverBefore = receiversHoldings();
  const Holdings farBefore = farMachinesHoldings();
  const std::string tableBefore = sim::readFile("/sys/bus/usb/drivers/usbip-host/match_busid");

  const StopWatch sinceFirstRound;
  for (int round = 0; round < rounds; ++round) {
    playRound();
  }
  sinceFirstRound.print(std::to_string(rounds) + " rounds");

  expectSame("receiver", receiverBefore, receiversHoldings());
  expectSame("far machine", farBefore, farMachinesHoldings());
  EXPECT_EQ(sim::readFile("/sys/bus/usb/drivers/usbip-host/match_busid"), tableBefore);
  EXPECT_EQ(farProgram.portsInUse(), 0);
}

}  // namespace
}  // namespace pair
