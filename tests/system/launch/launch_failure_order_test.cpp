// A worker that cannot be executed, by what the daemon does then: it logs the start, then the failure, and ends.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>

#include "sim/contract.h"
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

/** A device or node whose worker is this program. */
struct Kind : support::NamedCase {
  const char* program;
  std::function<std::string(sim::Sysfs& sysfs)> add;
  std::function<std::string(const std::string& directory)> starting;  ///< what is logged of its start
  Lines shown;                                                        ///< on the display
};

const std::vector<Kind> kinds = {
    {{"Generic"},
     "usb_rx_generic",
     [](sim::Sysfs& sysfs) { return sysfs.add(support::scanner()); },
     debug::startingGeneric,
     {}},
    {{"Keyboard"},
     "usb_rx_keyboard",
     addKeyboard,
     [](const std::string& directory) { return debug::startingKeyboard(directory, "180:0"); },
     {contract::display::attached("Keyboard") + "\n"}},
    {{"Scsi"},
     "usb_rx_scsi",
     addDisk,
     debug::startingScsi,
     {contract::display::attached("ACME     Memory Stick    ") + "\n"}},
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

TEST_P(LaunchFailureOrder, AtColdplugIsTheLastThingThatIsLogged) {
  takeProgramAway();
  const std::string directory = add();
  startDebugging();
  const Lines messages = messagesOfFailedDaemon();
  expectStartThenFailure(messages, directory);
  EXPECT_TRUE(has(messages, debug::coldplugging));
}

// As for any other device: the daemon ends when it has shown the user what it has started.
TEST_P(LaunchFailureOrder, ComesAfterTheAnnouncementOfNodes) {
  takeProgramAway();
  add();
  startDebugging();
  static_cast<void>(messagesOfFailedDaemon());
  EXPECT_EQ(unit.display.takeWrites(), GetParam().shown);
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
