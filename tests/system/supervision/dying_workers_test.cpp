// Workers that end as soon as they are started: the daemon starts them anew again and again, and still serves
// whatever else comes.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <tuple>

#include "sim/contract.h"
#include "support/eventually.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"

namespace {

namespace fs = std::filesystem;
namespace debug = contract::debug;

using support::Lines;

/** The times before lines on standard error are rounded to milliseconds. */
constexpr double roundingOfTimes = 0.001;
constexpr double secondsOfRestart = 0.15;

std::string portOf(int number) {
  return "1-" + std::to_string(number);
}

std::string addScanner(sim::Sysfs& sysfs, int number) {
  return sysfs.add(support::scanner(portOf(number)));
}

sim::HiddevNode keyboardNode(const std::string& keyboard, int number) {
  const std::string minor = std::to_string(number);
  return {.usbDevice = keyboard, .name = "hiddev" + minor, .dev = "180:" + minor};
}

std::string addKeyboardNode(sim::Sysfs& sysfs, int number) {
  return sysfs.add(keyboardNode(sysfs.add(support::keyboard(portOf(number))), number));
}

sim::ScsiGenericNode diskNode(const std::string& disk, int number) {
  const std::string minor = std::to_string(number);
  return {.usbDevice = disk, .name = "sg" + minor, .dev = "21:" + minor, .host = number};
}

std::string addDiskNode(sim::Sysfs& sysfs, int number) {
  return sysfs.add(diskNode(sysfs.add(support::disk(portOf(number))), number));
}

/** Devices whose worker is this program. */
struct Kind : support::NamedCase {
  const char* program;
  std::string (*add)(sim::Sysfs& sysfs, int number);
};

class DyingWorkers : public support::DaemonFixture,
                     public testing::WithParamInterface<std::tuple<Kind, int>> {
 protected:
  void SetUp() override {
    const auto& [kind, count] = GetParam();
    letDie(kind.program);
    for (int number = 1; number <= count; ++number) {
      devices.push_back(kind.add(unit.sysfs, number));
    }
    start(support::commandLine({"--debug=ctrl", "--class=all"}));
    unit.daemon().waitForLine(restarting);
  }

  /** Plugs in a device whose worker does not die. */
  std::string plugAnother() {
    constexpr int number = 9;
    if (std::get<Kind>(GetParam()).program == std::string("usb_rx_generic")) {
      return unit.plug(diskNode(unit.plug(support::disk(portOf(number))), number));
    }
    return unit.plug(support::scanner(portOf(number)));
  }
  /** The lines of all restarts so far. */
  Lines restarts() {
    const Lines& lines = unit.daemon().lines();
    Lines found;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(found),
                 [](const std::string& line) { return line.find(restarting) != std::string::npos; });
    return found;
  }

  static constexpr const char* restarting = " still present; restarting ";
  Lines devices;

 private:
  static void letDie(const std::string& program) {
    const std::string path = "/sim/bin/" + program;
    fs::remove(path);
    fs::create_symlink("/bin/false", path);
  }
};

INSTANTIATE_TEST_SUITE_P(
    Of, DyingWorkers,
    testing::Combine(testing::Values(Kind{{"Scanners"}, "usb_rx_generic", addScanner},
                                     Kind{{"Keyboards"}, "usb_rx_keyboard", addKeyboardNode},
                                     Kind{{"Disks"}, "usb_rx_scsi", addDiskNode}),
                     testing::Values(2, 5)),
    [](const auto& test) {
      return std::get<Kind>(test.param).name + std::to_string(std::get<int>(test.param));
    });

TEST_P(DyingWorkers, LeaveTheDaemonTimeToAnswer) {
  EXPECT_EQ(support::askForParameters(unit), "");
}

TEST_P(DyingWorkers, LeaveTheDaemonTimeForNewParametersAndTheEndOfTheirConnection) {
  const std::string line = support::linkLine("high", "second");
  sim::LinkManager& client = send(line);
  EXPECT_EQ(support::askForParameters(unit), line);

  client.close();

  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
}

TEST_P(DyingWorkers, LeaveTheDaemonTimeForANewDevice) {
  const std::string device = plugAnother();
  EXPECT_TRUE(unit.workers.waitForWorkerOf(device).isRunning());
}

/** By the times before two lines on standard error, which begin anew after 100 seconds. */
double secondsBetween(const std::string& earlier, const std::string& later) {
  const double difference = std::stod(later) - std::stod(earlier);
  return difference < 0 ? difference + 100 : difference;
}

TEST_P(DyingWorkers, AreStartedAnewInTheirTurnEachAfterTheLookForItsDevice) {
  constexpr std::size_t rounds = 3;
  support::eventually("some rounds of restarts",
                      [&] { return restarts().size() >= rounds * devices.size(); });

  const Lines lines = restarts();
  for (const std::string& device : devices) {
    const auto ofDevice = std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
      return line.find(device + restarting) != std::string::npos;
    });
    EXPECT_GE(ofDevice, rounds - 1) << device;
  }
  for (std::size_t i = 1; i < lines.size(); ++i) {
    EXPECT_GE(secondsBetween(lines[i - 1], lines[i]), secondsOfRestart - roundingOfTimes) << lines[i];
  }
}

}  // namespace
