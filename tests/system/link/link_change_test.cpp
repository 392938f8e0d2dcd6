// What new link parameters do to the devices that are attached.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"
#include "system/support/eventually.h"
#include "system/support/last_words.h"
#include "system/support/process_state.h"

namespace {

using Lines = std::vector<std::string>;

class LinkChange : public testing::Test {
 protected:
  sim::Daemon& startAt(const std::string& speed) {
    sim::Daemon& daemon = unit.startDaemon({"--debug=ctrl", "--class=all", "transmitter", "5000", speed});
    unit.waitUntilServing();
    return daemon;
  }

  /** Delivers new parameters; the connection stays, since its end would be the daemon's. */
  void change(const std::string& speed) {
    sim::LinkParameters parameters;
    parameters.speed = speed;
    connections.push_back(unit.connect());
    connections.back().configure(parameters);
  }

  /** What the display shows because of new parameters. */
  Lines shownAt(const std::string& speed) {
    unit.display.takeWrites();
    change(speed);
    settleEverySource(unit);
    return unit.display.takeWrites();
  }

  sim::Worker& attach(const sim::UsbDevice& device) {
    return unit.workers.waitForWorkerOf(unit.plug(device));
  }

  sim::Unit unit;
  std::vector<sim::LinkManager> connections;
};

class NewLink : public LinkChange {};
class SlowerLink : public LinkChange {};

bool contains(const Lines& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

TEST_F(NewLink, AnnouncesEachAttachedDeviceInTheOrderOfItsWorkersNumbers) {
  startAt("high");
  std::vector<std::pair<pid_t, std::string>> workers;
  for (const char* product : {"Zebra", "Ape", "Mole"}) {
    const std::string name = "1-" + std::to_string(workers.size() + 1);
    workers.emplace_back(attach(scanner(name, product)).start.pid, std::string(product) + " attached\n");
  }
  std::sort(workers.begin(), workers.end());
  Lines expected;
  for (const auto& [pid, line] : workers) {
    expected.push_back(line);
  }

  EXPECT_EQ(shownAt("high"), expected);
  EXPECT_TRUE(unit.display.keepsBoundaries());
}

TEST_F(NewLink, AnnouncesNothingWithoutDevices) {
  startAt("high");

  EXPECT_EQ(shownAt("full"), Lines{});
}

TEST_F(NewLink, AnnouncesADeviceWithoutANameAsUnnamed) {
  startAt("high");
  sim::UsbDevice unnamed = scanner();
  unnamed.product.reset();
  attach(unnamed);

  EXPECT_EQ(shownAt("high"), Lines{"un-named device attached\n"});
}

TEST_F(NewLink, AnnouncesADeviceByTheNameThatItHasNow) {
  startAt("high");
  const std::string directory = attach(scanner()).device();
  unit.sysfs.writeAttribute(directory, "product", "Renamed\n");

  EXPECT_EQ(shownAt("high"), Lines{"Renamed attached\n"});
}

TEST_F(NewLink, AnnouncesKeyboardAndStorageNodesAsUnnamed) {
  // Their nodes, unlike the USB devices behind them, have no name.
  startAt("high");
  unit.plug(sim::HiddevNode{.usbDevice = unit.plug(keyboard())});
  unit.plug(sim::ScsiGenericNode{.usbDevice = unit.plug(disk())});
  unit.settle();

  EXPECT_EQ(shownAt("high"), (Lines{"un-named device attached\n", "un-named device attached\n"}));
}

TEST_F(NewLink, AnnouncesADeviceThatHasGoneBeforeItsWorkerAsUnnamed) {
  startAt("high");
  unit.unplug(attach(scanner()).device());
  unit.settle();

  EXPECT_EQ(shownAt("high"), Lines{"un-named device attached\n"});
}

TEST_F(NewLink, EndsADaemonThatCannotReadADevicesName) {
  sim::Daemon& daemon = startAt("high");
  const std::string directory = attach(scanner()).device();
  unit.sysfs.removeAttribute(directory, "product");
  unit.sysfs.makeDirectory(directory + "/product");

  change("high");

  EXPECT_EQ(lastWordsOf(daemon), "Is a directory while read(\"" + directory + "/product\")");
}

TEST_F(NewLink, AnnouncesAgainForEveryLine) {
  startAt("high");
  attach(scanner());

  EXPECT_EQ(shownAt("high"), Lines{"Scanner attached\n"});
  EXPECT_EQ(shownAt("high"), Lines{"Scanner attached\n"});
}

TEST_F(NewLink, AnnouncesNothingForAQuery) {
  startAt("high");
  attach(scanner());
  sim::LinkManager client = unit.connect();

  client.send("?");
  EXPECT_EQ(client.receiveAll(), "");
  settleEverySource(unit);

  EXPECT_EQ(unit.display.takeWrites(), Lines{});
}

TEST_F(NewLink, DoesNotAnnounceADeviceWhoseWorkerHasEnded) {
  startAt("high");
  sim::Worker& gone = attach(scanner("1-1", "Gone"));
  attach(scanner("1-2", "Here"));
  unit.unplug(gone.device());
  gone.exitWith(0);
  eventually("the daemon's notice of its worker's end", [&] { return unit.daemon().children().size() == 1; });

  EXPECT_EQ(shownAt("high"), Lines{"Here attached\n"});
}

TEST_F(SlowerLink, TerminatesTheWorkersOfHighSpeedDevicesAndAnnouncesTheOthers) {
  startAt("high");
  sim::Worker& slow = attach(scanner("1-1", "Slow"));
  sim::Worker& fast = attach(fastScanner("1-2", "Fast"));
  sim::UsbDevice superSpeed = scanner("1-3", "Super");
  superSpeed.speed = "5000";
  sim::Worker& super = attach(superSpeed);

  const Lines lines = shownAt("full");

  fast.waitForEnd();
  EXPECT_TRUE(contains(lines, "Slow attached\n"));
  EXPECT_TRUE(contains(lines, "Super attached\n"));
  EXPECT_FALSE(contains(lines, "Fast attached\n"));
  EXPECT_TRUE(slow.isRunning());
  EXPECT_TRUE(super.isRunning());
}

TEST_F(SlowerLink, TerminatesByTheTerminationSignal) {
  startAt("high");
  sim::Worker& fast = attach(fastScanner());
  ASSERT_EQ(::kill(fast.start.pid, SIGSTOP), 0);
  waitUntilStopped(fast.start.pid);

  change("full");
  settleEverySource(unit);

  EXPECT_EQ(pendingSignalsOf(fast.start.pid), std::set<int>{SIGTERM});
  ASSERT_EQ(::kill(fast.start.pid, SIGCONT), 0);
  fast.waitForEnd();
}

TEST_F(SlowerLink, TerminatesNothingWhenFullSpeedIsRepeated) {
  startAt("full");
  sim::Worker& worker = attach(scanner());
  unit.sysfs.writeAttribute(worker.device(), "speed", "480\n");

  EXPECT_EQ(shownAt("full"), Lines{"Scanner attached\n"});
  EXPECT_EQ(pendingSignalsOf(worker.start.pid), std::set<int>{});
  EXPECT_TRUE(worker.isRunning());
}

TEST_F(SlowerLink, TerminatesNothingWhenFullSpeedIsRepeatedByALaterLine) {
  startAt("high");
  EXPECT_EQ(shownAt("full"), Lines{});
  sim::Worker& worker = attach(scanner());
  unit.sysfs.writeAttribute(worker.device(), "speed", "480\n");

  EXPECT_TRUE(contains(shownAt("full"), "Scanner attached\n"));
  EXPECT_TRUE(worker.isRunning());
}

TEST_F(SlowerLink, TerminatesNothingForAnyOtherWord) {
  startAt("high");
  sim::Worker& worker = attach(fastScanner());

  EXPECT_EQ(shownAt("low"), Lines{"Fast Scanner attached\n"});
  EXPECT_EQ(shownAt("FULL"), Lines{"Fast Scanner attached\n"});
  EXPECT_EQ(shownAt("fuller"), Lines{"Fast Scanner attached\n"});
  EXPECT_TRUE(worker.isRunning());
}

TEST_F(SlowerLink, TerminatesNothingWhenTheLinkBecomesFaster) {
  startAt("full");
  sim::Worker& worker = attach(scanner());
  unit.sysfs.writeAttribute(worker.device(), "speed", "480\n");

  EXPECT_EQ(shownAt("high"), Lines{"Scanner attached\n"});
  EXPECT_TRUE(worker.isRunning());
}

TEST_F(SlowerLink, EndsADaemonWhoseDeviceHasGoneBeforeItsWorker) {
  sim::Daemon& daemon = startAt("high");
  const std::string directory = attach(scanner()).device();
  unit.unplug(directory);
  unit.settle();

  change("full");

  EXPECT_EQ(lastWordsOf(daemon), "No such file or directory while open(\"" + directory + "/speed\")");
}

TEST_F(SlowerLink, EndsADaemonThatServesAKeyboardNodeSinceItHasNoSpeed) {
  sim::Daemon& daemon = startAt("high");
  const std::string node = unit.plug(sim::HiddevNode{.usbDevice = unit.plug(keyboard())});
  unit.workers.waitForWorker();

  change("full");

  EXPECT_EQ(lastWordsOf(daemon), "No such file or directory while open(\"" + node + "/speed\")");
}

TEST_F(SlowerLink, EndsADaemonThatServesAStorageNodeSinceItHasNoSpeed) {
  sim::Daemon& daemon = startAt("high");
  const std::string node = unit.plug(sim::ScsiGenericNode{.usbDevice = unit.plug(disk())});
  unit.workers.waitForWorker();

  change("full");

  EXPECT_EQ(lastWordsOf(daemon), "No such file or directory while open(\"" + node + "/speed\")");
}

}  // namespace
