// Whom the far side refuses: each with one line, and with an answer where there is one.

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

#include "examples/usbip/transmitter/far_side.h"
#include "examples/usbip/transmitter/far_side_world.h"
#include "examples/usbip/transmitter/scripted_worker.h"

namespace {

using examples::FarSide;
using examples::freePort;
using examples::ScriptedWorker;
using examples::usedPort;
using usbip::Speed;
using usbip::Verdict;

class FarSideRefusals : public examples::FarSideWorld {
 protected:
  FarSideRefusals() { farSide.waitUntilListening(); }

  // One line has been logged, nothing has been attached, and the next worker is served.
  void expectRefusal(const std::string& why, const std::string& address = "127.0.0.1") {
    EXPECT_EQ(farSide.nextLine(), address + ": refused: " + why);
    EXPECT_FALSE(hubs.hasAttach());
    ScriptedWorker next;
    next.bringDevice();
    hubs.waitForAttach();
    EXPECT_EQ(farSide.nextLine(), "1-2 of 127.0.0.1 (0627:0001, high speed) is attached at port 0");
  }

  FarSide farSide;
};

TEST_F(FarSideRefusals, OfGarbageComeAtOnceAndWithoutAnAnswer) {
  const ScriptedWorker worker;
  worker.say("GET / HTTP/1.1\r\nHost: \x1B[2J\r\n\r\n");
  worker.hearTheEndOrAReset();
  expectRefusal("this is no greeting");
}

TEST_F(FarSideRefusals, OfAnotherVersionComeBeforeTheGreetingIsThere) {
  usbip::GreetingBytes greeting = usbip::encode(usbip::Greeting{});
  greeting[usbip::greetingStartSize - 1] = 2;
  ScriptedWorker worker;
  worker.say(std::span(greeting).first<usbip::greetingStartSize>());
  EXPECT_EQ(worker.hearGreeting().verdict, Verdict::unknownVersion);
  worker.hearTheEnd();
  expectRefusal("version 2 of the exchange is spoken there, version 1 here");
}

TEST_F(FarSideRefusals, ReachAWorkerThatHasSaidMoreThanWasRead) {
  usbip::GreetingBytes greeting = usbip::encode(usbip::Greeting{});
  greeting[usbip::greetingStartSize - 1] = 2;
  ScriptedWorker worker;
  worker.say(greeting);
  worker.say(std::string(10'000, 'x'));
  EXPECT_EQ(farSide.nextLine(),
            "127.0.0.1: refused: version 2 of the exchange is spoken there, version 1 here");
  EXPECT_EQ(worker.hearGreeting().verdict, Verdict::unknownVersion);
  worker.hearTheEnd();
  worker.leave();
  EXPECT_FALSE(farSide.hasLine());
}

TEST_F(FarSideRefusals, AreLoggedOnceThoughTheWorkerIsRude) {
  ScriptedWorker worker;
  worker.greet(true);
  worker.hearGreeting();
  worker.leaveRudely();
  expectRefusal("it has keys, and there are none here (--keys)");
}

TEST_F(FarSideRefusals, OfAWorkerThatLeavesSayWhatIsMissing) {
  ScriptedWorker silent;
  silent.leave();
  EXPECT_EQ(farSide.nextLine(), "127.0.0.1: refused: it left before it had said all of the greeting");
  ScriptedWorker halfway;
  const usbip::GreetingBytes greeting = usbip::encode(usbip::Greeting{});
  halfway.say(std::span(greeting).first(20));
  halfway.leave();
  EXPECT_EQ(farSide.nextLine(), "127.0.0.1: refused: it left before it had said all of the greeting");
  ScriptedWorker later;
  later.greet();
  later.hearGreeting();
  const usbip::OfferBytes offer = usbip::encode(examples::offeredDevice());
  later.say(std::span(offer).first<usbip::offerSize - 1>());
  later.leave();
  expectRefusal("it left before it had said all of the offer");
}

TEST_F(FarSideRefusals, OfAWorkerThatResetsItsConnectionSaySo) {
  ScriptedWorker worker;
  worker.greet();
  worker.hearGreeting();
  worker.leaveRudely();
  expectRefusal("Connection reset by peer while recv()");
}

TEST_F(FarSideRefusals, OfWhatCannotBeADeviceHaveNoAnswer) {
  usbip::OfferBytes offer = usbip::encode(examples::offeredDevice());
  offer[0] = '\n';
  ScriptedWorker worker;
  worker.greet();
  worker.hearGreeting();
  worker.say(offer);
  worker.hearTheEnd();
  expectRefusal("this is no bus id");
}

TEST_F(FarSideRefusals, MeetDevicesForWhichNoPortIsFree) {
  examples::MadeUpHubs::writeStatus(usedPort("hs", 0, "5-1") + freePort("ss", 8));
  ScriptedWorker high;
  high.greet();
  high.hearGreeting();
  EXPECT_EQ(high.offer(), Verdict::noFreePort);
  high.hearTheEnd();
  EXPECT_EQ(farSide.nextLine(), "127.0.0.1: refused: 1-2 (0627:0001, high speed): no port is free");
  examples::MadeUpHubs::writeStatus(freePort("hs", 0) + usedPort("ss", 8, "6-1"));
  ScriptedWorker super;
  super.greet();
  super.hearGreeting();
  EXPECT_EQ(super.offer(Speed::super), Verdict::noFreePort);
  super.hearTheEnd();
  expectRefusal("1-2 (0627:0001, super speed): no port is free");
}

TEST_F(FarSideRefusals, MeetTheSpeedForWhichThereIsNoHub) {
  ScriptedWorker worker;
  worker.greet();
  worker.hearGreeting();
  EXPECT_EQ(worker.offer(Speed::superPlus), Verdict::speedNotTaken);
  worker.hearTheEnd();
  expectRefusal("1-2 (0627:0001, super speed plus): devices of this speed are not taken");
}

TEST_F(FarSideRefusals, MeetOtherMachinesWithoutKeys) {
  support::addAddress("192.0.2.1");
  ScriptedWorker worker("192.0.2.1");
  worker.greet();
  EXPECT_EQ(worker.hearGreeting().verdict, Verdict::localPeersOnly);
  worker.hearTheEnd();
  expectRefusal("without keys only this machine itself is served (--keys, --allow-any-peer)", "192.0.2.1");
}

class FarSideRefusalsForAll : public examples::FarSideWorld {
 protected:
  FarSide farSide{{"--allow-any-peer"}};
};

TEST_F(FarSideRefusalsForAll, DoNotMeetOtherMachines) {
  farSide.waitUntilListening();
  support::addAddress("192.0.2.1");
  ScriptedWorker worker("192.0.2.1");
  worker.bringDevice();
  EXPECT_EQ(farSide.nextLine(), "1-2 of 192.0.2.1 (0627:0001, high speed) is attached at port 0");
}

}  // namespace
