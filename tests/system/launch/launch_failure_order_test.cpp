// A worker that cannot be executed, by what the daemon does then: it logs the start, then the failure, and ends.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>

#include "sim/contract.h"
#include "support/held_attribute.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"

namespace {

namespace fs = std::filesystem;
namespace debug = contract::debug;

using support::Lines;

std::string addKeyboard(sim::Sysfs& sysfs) {
  return sysfs.add(sim::HiddevNode{.usbDevice = sysfs.add(support::keyboard())});
}

std::string addDisk(sim::Sysfs& sysfs) {
  return sysfs.add(sim::ScsiGenericNode{.usbDevice = sysfs.add(support::disk())});
}

std::string productOfKeyboard() {
  return support::keyboard().directory() + "/product";
}

/** A device or node whose worker is this program. */
struct Kind : support::NamedCase {
  const char* program;
  std::function<std::string(sim::Sysfs& sysfs)> add;
  /** Adds what is missing for a file that coldplug reads once it has started the worker; that file. */
  std::function<std::string(sim::Sysfs& sysfs, const std::string& directory)> fileReadAfterwards;
  std::function<std::string(const std::string& directory)> starting;  ///< what is logged of its start
};

const std::vector<Kind> kinds = {
    {{"Generic"},
     "usb_rx_generic",
     [](sim::Sysfs& sysfs) { return sysfs.add(support::scanner()); },
     [](sim::Sysfs& sysfs, const std::string& /*directory*/) {
       addKeyboard(sysfs);
       return productOfKeyboard();
     },
     debug::startingGeneric},
    {{"Keyboard"},
     "usb_rx_keyboard",
     addKeyboard,
     [](sim::Sysfs& /*sysfs*/, const std::string& /*directory*/) { return productOfKeyboard(); },
     [](const std::string& directory) { return debug::startingKeyboard(directory, "180:0"); }},
    {{"Scsi"},
     "usb_rx_scsi",
     addDisk,
     [](sim::Sysfs& /*sysfs*/, const std::string& directory) { return directory + "/device/vendor"; },
     debug::startingScsi},
};

class LaunchFailureOrder : public support::DaemonFixture, public testing::WithParamInterface<Kind> {
 protected:
  static void takeProgramAway() { fs::remove(std::string("/sim/bin/") + GetParam().program); }
  std::string add() { return GetParam().add(unit.sysfs); }
  void startDebugging() { unit.startDaemon(support::commandLine({"--debug=ctrl", "--class=all"})); }

  /** The messages until the daemon has ended as it does when a worker could not be executed. */
  Lines messagesOfFailedDaemon() {
    EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
    return unit.daemon().messages();
  }

  static void expectStartThenFailure(const Lines& messages, const std::string& directory) {
    const auto start =
        std::find(messages.begin(), messages.end(), debug::line(GetParam().starting(directory)));
    ASSERT_NE(start, messages.end());
    EXPECT_EQ(std::count(start, messages.end(), *start), 1);
    EXPECT_EQ(messages.back() + "\n", contract::error::execFailed);
    EXPECT_EQ(std::count(messages.begin(), messages.end(), messages.back()), 1);
  }

  static bool has(const Lines& messages, const std::string& text) {
    return std::find(messages.begin(), messages.end(), debug::line(text)) != messages.end();
  }
};

INSTANTIATE_TEST_SUITE_P(Of, LaunchFailureOrder, testing::ValuesIn(kinds), testing::PrintToStringParamName());

TEST_P(LaunchFailureOrder, AtHotplugIsTheLastThingThatIsLogged) {
  takeProgramAway();
  startDebugging();
  unit.waitUntilServing();
  const std::string directory = add();
  unit.uevents.add(directory.substr(std::string("/sys").size()));
  expectStartThenFailure(messagesOfFailedDaemon(), directory);
}

TEST_P(LaunchFailureOrder, AtColdplugEndsTheDaemonBeforeItServes) {
  takeProgramAway();
  const std::string directory = add();
  const support::HeldAttribute heldUp(GetParam().fileReadAfterwards(unit.sysfs, directory));
  startDebugging();
  const Lines messages = messagesOfFailedDaemon();
  expectStartThenFailure(messages, directory);
  EXPECT_TRUE(has(messages, debug::coldplugging));
  EXPECT_FALSE(has(messages, debug::hotplugging));
}

TEST_P(LaunchFailureOrder, AtARestartFollowsThatOfTheRestart) {
  const std::string directory = add();
  startDebugging();
  unit.waitUntilServing();
  sim::Worker& worker = unit.workers.waitForWorker();
  takeProgramAway();
  const std::size_t before = unit.daemon().messages().size();
  worker.exitWith(28);  // no failure of the worker's own, which would be counted
  Lines messages = messagesOfFailedDaemon();
  messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(before));
  EXPECT_EQ(messages.front(), debug::line(debug::terminated(worker.start.pid)));
  EXPECT_TRUE(has(messages, debug::restarting(directory, 0)));
  expectStartThenFailure(messages, directory);
}

}  // namespace
