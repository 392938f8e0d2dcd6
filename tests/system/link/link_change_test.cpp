// What new link parameters do to the devices that are attached.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/last_words.h"
#include "system/support/process_state.h"

namespace {

namespace display = contract::display;
namespace error = contract::error;
namespace reason = contract::reason;

using support::lastWordsOf;
using support::Lines;
using support::linkLine;
using support::scanner;
using support::writes;

const std::string unnamed = display::attached(display::unnamedDevice);

class LinkChange : public support::DaemonFixture {
 protected:
  sim::Daemon& startAt(const std::string& speed) {
    return start(support::commandLine({"--debug=ctrl", "--class=all"}, {"transmitter", "5000", speed}));
  }

  /** What the display shows because of new parameters. */
  Lines shownAt(const std::string& speed) {
    unit.settle();  // a worker runs before the daemon announces it
    unit.display.takeWrites();
    deliver(linkLine(speed));
    return unit.display.takeWrites();
  }
};

TEST_F(LinkChange, AnnouncesEachAttachedDeviceInTheOrderOfItsWorkersNumbers) {
  startAt("high");
  std::map<pid_t, std::string> lines;
  lines[attach(scanner("1-1", "Zebra")).start.pid] = display::attached("Zebra");
  lines[attach(scanner("1-2", "Ape")).start.pid] = display::attached("Ape");
  lines[attach(scanner("1-3", "Mole")).start.pid] = display::attached("Mole");
  Lines expected;
  for (const auto& [pid, line] : lines) {
    expected.push_back(line);
  }

  EXPECT_EQ(shownAt("high"), writes(expected));
  EXPECT_TRUE(unit.display.keepsBoundaries());
}

TEST_F(LinkChange, AnnouncesAnewWithEveryLineButWithNoQuery) {
  startAt("high");
  EXPECT_EQ(shownAt("high"), Lines{});
  sim::Worker& worker = attach(scanner());

  EXPECT_EQ(shownAt("high"), writes({display::attached("Scanner")}));
  EXPECT_EQ(shownAt("high"), writes({display::attached("Scanner")}));
  support::askForParameters(unit);
  support::settleEverySource(unit);

  EXPECT_EQ(unit.display.takeWrites(), Lines{});
  EXPECT_TRUE(worker.isRunning());
  EXPECT_EQ(unit.workers.count(), 1U);
}

TEST_F(LinkChange, AnnouncesADeviceByTheNameThatItHasNow) {
  startAt("high");
  const std::string directory = attach(scanner()).device();
  unit.sysfs.writeAttribute(directory, "product", "Renamed\n");
  EXPECT_EQ(shownAt("high"), writes({display::attached("Renamed")}));

  unit.sysfs.removeAttribute(directory, "product");
  EXPECT_EQ(shownAt("high"), writes({unnamed}));
}

TEST_F(LinkChange, AnnouncesKeyboardAndStorageNodesAsUnnamed) {
  // Their nodes, unlike the USB devices behind them, have no name.
  startAt("high");
  attachKeyboard();
  attachDisk();

  EXPECT_EQ(shownAt("high"), writes({unnamed, unnamed}));
}

TEST_F(LinkChange, AnnouncesADeviceThatHasGoneUntilItsWorkerHasEnded) {
  startAt("high");
  sim::Worker& gone = attach(scanner("1-1", "Gone"));
  unit.unplug(gone.device());
  unit.settle();
  EXPECT_EQ(shownAt("high"), writes({unnamed}));

  attach(scanner("1-2", "Here"));
  gone.exitWith(0);
  waitUntilForgotten(gone);
  EXPECT_EQ(shownAt("high"), writes({display::attached("Here")}));
}

TEST_F(LinkChange, EndsADaemonThatCannotReadADevicesName) {
  sim::Daemon& daemon = startAt("high");
  const std::string directory = attach(scanner()).device();
  unit.sysfs.removeAttribute(directory, "product");
  unit.sysfs.makeDirectory(directory + "/product");

  send();

  EXPECT_EQ(lastWordsOf(daemon), error::readFailed(reason::isDirectory, directory + "/product"));
}

using LinkChangeToFullSpeed = LinkChange;

TEST_F(LinkChangeToFullSpeed, TerminatesTheWorkersOfHighSpeedDevicesAndAnnouncesTheOthers) {
  startAt("high");
  sim::Worker& slow = attach(scanner("1-1", "Slow"));
  sim::Worker& fast = attach(support::fastScanner("1-2", "Fast"));
  sim::UsbDevice superSpeed = scanner("1-3", "Super");
  superSpeed.speed = "5000";
  sim::Worker& super = attach(superSpeed);

  const Lines shown = shownAt("full");

  fast.waitForEnd();
  const auto isShown = [&](const std::string& name) {
    return std::count(shown.begin(), shown.end(), display::attached(name) + "\n") == 1;
  };
  EXPECT_TRUE(isShown("Slow"));
  EXPECT_TRUE(isShown("Super"));
  EXPECT_FALSE(isShown("Fast"));
  EXPECT_TRUE(slow.isRunning());
  EXPECT_TRUE(super.isRunning());
}

TEST_F(LinkChangeToFullSpeed, TerminatesByTheTerminationSignal) {
  startAt("high");
  const pid_t worker = attach(support::fastScanner()).start.pid;
  ASSERT_EQ(::kill(worker, SIGSTOP), 0);
  support::waitUntilStopped(worker);

  deliver(linkLine("full"));

  EXPECT_EQ(support::pendingSignalsOf(worker), std::set<int>{SIGTERM});
  ASSERT_EQ(::kill(worker, SIGCONT), 0);
}

class LinkChangeToFullSpeedWithout : public LinkChangeToFullSpeed {
 protected:
  /** A device whose speed cannot be read ends the daemon. */
  void expectEndForLackOfSpeed(const std::string& directory) {
    send(linkLine("full"));
    EXPECT_EQ(lastWordsOf(unit.daemon()), error::openFailed(reason::noSuchFile, directory + "/speed"));
  }
};

TEST_F(LinkChangeToFullSpeedWithout, ADeviceThatHasAWorkerEndsTheDaemon) {
  startAt("high");
  const std::string directory = attach(scanner()).device();
  unit.unplug(directory);
  unit.settle();

  expectEndForLackOfSpeed(directory);
}

TEST_F(LinkChangeToFullSpeedWithout, TheSpeedOfAStorageNodeEndsTheDaemon) {
  startAt("high");
  expectEndForLackOfSpeed(attachDisk().device());
}

/** Changes of the link that terminate no worker, though its device has become one of high speed. */
struct HarmlessChange : support::NamedCase {
  Lines before;  ///< speeds, the first of which is the command line's
  Lines after;   ///< speeds that are delivered when the worker runs
};

const std::vector<HarmlessChange> harmlessChanges = {
    {"FullSpeedAgain", {"full"}, {"full", "full"}},
    {"FullSpeedOfALaterLineAgain", {"high", "full"}, {"full"}},
    {"AnyOtherWord", {"high"}, {"low", "FULL", "fuller"}},
    {"AFasterLink", {"full"}, {"high"}},
};

class LinkChangeTo : public LinkChange, public testing::WithParamInterface<HarmlessChange> {};

TEST_P(LinkChangeTo, TerminatesNothing) {
  startAt(GetParam().before.front());
  std::for_each(GetParam().before.begin() + 1, GetParam().before.end(),
                [&](const std::string& speed) { deliver(linkLine(speed)); });
  sim::Worker& worker = attach(scanner());
  unit.sysfs.writeAttribute(worker.device(), "speed", "480\n");

  for (const std::string& speed : GetParam().after) {
    EXPECT_EQ(shownAt(speed), writes({display::attached("Scanner")})) << speed;
  }

  EXPECT_EQ(support::pendingSignalsOf(worker.start.pid), std::set<int>{});
  EXPECT_TRUE(worker.isRunning());
}

INSTANTIATE_TEST_SUITE_P(Speed, LinkChangeTo, testing::ValuesIn(harmlessChanges),
                         testing::PrintToStringParamName());

}  // namespace
