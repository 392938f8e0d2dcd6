// Whether the device of an ended worker is still there: looked at after each of three pauses.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/thrown.h"
#include "unit/workers/supervision_world.h"

namespace {

using Pauses = std::vector<double>;

// The device of an ended worker goes in the pause of this number.
void removeInPause(SupervisionWorld& world, const std::string& device, std::size_t number) {
  world.inPause = [&world, device, number] {
    if (world.pauses.size() == number) {
      world.sysfs.removeDevice(device);
    }
  };
}

void expectNoRestart(SupervisionWorld& world) {
  EXPECT_TRUE(world.ctrl->workers.byPid.empty());
  EXPECT_EQ(world.board.count(), 1U);
  EXPECT_EQ(world.ctrl.shown(), Lines{});
}

void expectOneThatGoesInPauseToBeSeenToEnd(std::size_t number) {
  inSupervisionWorld([number](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    world.ctrl->restartCount = 4;
    world.exitNext(1);
    removeInPause(world, device, number);
    const Lines said = world.saidReaping();
    Lines expected(number - 1, "device " + device + " still present; sleep again");
    expected.push_back("device " + device + " has gone");
    EXPECT_EQ(Lines(said.begin() + 2, said.end()), tagged(expected));
    EXPECT_EQ(world.pauses, Pauses(number, 0.05));
    EXPECT_EQ(world.ctrl->restartCount, 0U);
    expectNoRestart(world);
  });
}

TEST(Presence, OfADeviceThatGoesInTheFirstPauseIsNotAwaitedAnyLonger) {
  expectOneThatGoesInPauseToBeSeenToEnd(1);
}

TEST(Presence, OfADeviceThatGoesInTheSecondPauseIsSeenToEnd) {
  expectOneThatGoesInPauseToBeSeenToEnd(2);
}

TEST(Presence, OfADeviceThatGoesInTheThirdPauseIsSeenToEnd) {
  expectOneThatGoesInPauseToBeSeenToEnd(3);
}

TEST(Presence, AfterThreePausesIsBelieved) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    world.exitNext(1);
    removeInPause(world, device, 4);
    world.reap();
    EXPECT_EQ(world.pauses, Pauses(3, 0.05));
    EXPECT_TRUE(world.ctrl->workers.byPath.contains(device));
  });
}

TEST(Presence, IsNotAskedForBeforeThePause) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    world.sysfs.removeDevice(device);
    world.exitNext(1);
    world.inPause = [&world] { world.sysfs.add(sim::UsbDevice{}); };
    world.reap();
    EXPECT_TRUE(world.ctrl->workers.byPath.contains(device));
  });
}

TEST(Presence, EndsAlsoWhereADirectoryAboveIsNoneAnyMore) {
  inSupervisionWorld([](SupervisionWorld& world) {
    sim::writeFile("/sys/devices/file", "");
    world.exitedWorker(1, "/sys/devices/file/1-1");
    EXPECT_EQ(world.saidReaping().back(), "[rx_ctrl] device /sys/devices/file/1-1 has gone");
  });
}

TEST(Presence, ThatCannotBeToldIsThrownAndTheWorkerIsForgotten) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.sysfs.makeLink("/sys/devices/loop", "loop");
    world.exitedWorker(1, "/sys/devices/loop/1-1");
    EXPECT_EQ(support::contextThrownBy([&world] { world.reap(); }), "stat(/sys/devices/loop/1-1)");
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
  });
}

TEST(Presence, ThatEndsSetsTheCountBackAndLeavesAttachingBlocked) {
  inSupervisionWorld([](SupervisionWorld& world) {
    for (const int status : {1, 28}) {
      world.ctrl->restartCount = 11;
      world.ctrl->attachBlocked = true;
      world.ctrl->lastGenericStart = world.now;
      world.exitedWorker(status, "/sys/devices/gone");
      world.reap();
      EXPECT_EQ(world.ctrl->restartCount, 0U) << status;
      EXPECT_TRUE(world.ctrl->attachBlocked) << status;
    }
  });
}

}  // namespace
