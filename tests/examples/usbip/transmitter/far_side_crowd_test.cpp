// Many workers at once, silent ones, and what is left of them.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "examples/usbip/transmitter/far_side.h"
#include "examples/usbip/transmitter/far_side_world.h"
#include "examples/usbip/transmitter/scripted_worker.h"
#include "sim/footprint.h"

namespace {

using examples::FarSide;
using examples::ScriptedWorker;
using usbip::Verdict;
using Clock = std::chrono::steady_clock;

constexpr int mostCallers = 16;

class FarSideCrowd : public examples::FarSideWorld {
 protected:
  FarSideCrowd() { farSide.waitUntilListening(); }

  // Workers that have been accepted, and have nothing more to say.
  static std::deque<ScriptedWorker> greetedWorkers(int count) {
    std::deque<ScriptedWorker> workers;
    for (int i = 0; i < count; ++i) {
      workers.emplace_back().greet();
      workers.back().hearGreeting();
    }
    return workers;
  }

  FarSide farSide;
};

TEST_F(FarSideCrowd, IsTalkedToAtTheSameTime) {
  std::deque<ScriptedWorker> workers = greetedWorkers(mostCallers);
  for (auto worker = workers.rbegin(); worker != workers.rend(); ++worker) {
    EXPECT_EQ(worker->offer(), Verdict::welcome);
    hubs.waitForAttach();
    EXPECT_EQ(farSide.nextLine(), "1-2 of 127.0.0.1 (0627:0001, high speed) is attached at port 0");
  }
}

TEST_F(FarSideCrowd, IsNoGreaterThanSixteen) {
  std::deque<ScriptedWorker> workers = greetedWorkers(mostCallers);
  const ScriptedWorker oneMore;
  oneMore.hearTheEnd();
  EXPECT_EQ(farSide.nextLine(), "127.0.0.1: refused: 16 others are being talked to");
  EXPECT_EQ(workers.front().offer(), Verdict::welcome);
  farSide.nextLine();
  ScriptedWorker inItsPlace;
  inItsPlace.bringDevice();
}

TEST_F(FarSideCrowd, OfAttachedDevicesMayBeGreater) {
  std::deque<ScriptedWorker> workers;
  for (int i = 0; i < 3 * mostCallers; ++i) {
    workers.emplace_back().bringDevice();
    hubs.waitForAttach();
    farSide.nextLine();
  }
  workers.pop_front();
  EXPECT_EQ(farSide.nextLine(), "1-2 of 127.0.0.1 (0627:0001, high speed) has gone");
}

TEST_F(FarSideCrowd, HasTenSecondsEachHoweverItSpeaks) {
  constexpr double secondsBetweenBytes =
      1.2;  // so that ten seconds are too short for the start of a greeting
  const Clock::time_point start = Clock::now();
  ScriptedWorker silent;
  ScriptedWorker greeted;
  greeted.greet();
  greeted.hearGreeting();
  ScriptedWorker slow;
  const usbip::GreetingBytes greeting = usbip::encode(usbip::Greeting{});
  for (std::size_t i = 0; !silent.waitToHear(sim::Deadline(secondsBetweenBytes)); ++i) {
    slow.say(std::span(greeting).subspan(i, 1));
  }
  const std::chrono::duration<double> time = Clock::now() - start;
  EXPECT_GE(time.count(), 9.9);
  EXPECT_LE(time.count(), 15);
  std::vector<std::string> lines{farSide.nextLine(), farSide.nextLine(), farSide.nextLine()};
  EXPECT_EQ(
      std::ranges::count(lines, "127.0.0.1: refused: it has not said all of the greeting in 10 seconds"), 2);
  EXPECT_EQ(std::ranges::count(lines, "127.0.0.1: refused: it has not said all of the offer in 10 seconds"),
            1);
  silent.hearTheEnd();
  greeted.hearTheEnd();
  slow.hearTheEnd();
}

TEST_F(FarSideCrowd, IsNotWaitedForWhenNothingElseHappens) {
  const ScriptedWorker silent;
  silent.hearTheEnd(sim::Deadline(15));
  EXPECT_EQ(farSide.nextLine(), "127.0.0.1: refused: it has not said all of the greeting in 10 seconds");
}

TEST_F(FarSideCrowd, HasASecondToLeaveAfterARefusal) {
  const auto before = farSide.openDescriptors();
  ScriptedWorker worker;
  worker.greet(true);
  EXPECT_EQ(worker.hearGreeting().verdict, Verdict::noKeysHere);
  farSide.waitForDescriptors(before);
  EXPECT_EQ(farSide.nextLine(), "127.0.0.1: refused: it has keys, and there are none here (--keys)");
  EXPECT_FALSE(farSide.hasLine());
}

TEST_F(FarSideCrowd, LeavesNoDescriptorHoweverItIsRefused) {
  const auto before = farSide.openDescriptors();
  for (int i = 0; i < 100; ++i) {
    ScriptedWorker garbage;
    garbage.say("0123456789");
    garbage.hearTheEnd();
    ScriptedWorker hasKeys;
    hasKeys.greet(true);
    EXPECT_EQ(hasKeys.hearGreeting().verdict, Verdict::noKeysHere);
    hasKeys.hearTheEnd();
    ScriptedWorker tooFast;
    tooFast.greet();
    tooFast.hearGreeting();
    EXPECT_EQ(tooFast.offer(usbip::Speed::superPlus), Verdict::speedNotTaken);
    ScriptedWorker rude;
    rude.leaveRudely();
    for (int line = 0; line < 4; ++line) {
      farSide.nextLine();
    }
  }
  farSide.waitForDescriptors(before);
  EXPECT_FALSE(farSide.hasLine());
}

TEST_F(FarSideCrowd, LeavesNoDescriptorWhenItsDevicesHaveGone) {
  const auto before = farSide.openDescriptors();
  for (int i = 0; i < 100; ++i) {
    ScriptedWorker worker;
    worker.bringDevice();
    hubs.waitForAttach();
    farSide.nextLine();
    worker.leave();
    farSide.nextLine();
  }
  farSide.waitForDescriptors(before);
}

class FarSideCrowdWithoutDescriptors : public examples::FarSideWorld {};

TEST_F(FarSideCrowdWithoutDescriptors, WaitsWithoutKeepingTheProcessorBusy) {
  constexpr rlim_t fewDescriptors = 8;  // standard ones, signals, listener: room for three workers
  sim::ProcessOptions options;
  options.limits = {{RLIMIT_NOFILE, fewDescriptors}};
  FarSide farSide({}, options);
  farSide.waitUntilListening();
  std::deque<ScriptedWorker> workers(4);
  EXPECT_EQ(farSide.nextLine(), "Too many open files while accept()");
  const double busyBefore = sim::processorSecondsOf(farSide.pid());
  const Clock::time_point start = Clock::now();
  EXPECT_EQ(farSide.nextLine(), "Too many open files while accept()");
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(900));  // it looks again after a second
  EXPECT_LT(sim::processorSecondsOf(farSide.pid()) - busyBefore, 0.2);
  workers.pop_front();
  workers.back().greet();
  EXPECT_EQ(workers.back().hearGreeting().verdict, Verdict::welcome);
}

}  // namespace
