// Keys, as the daemon gives them, at both ends.

#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/exchange/proofs.h"
#include "examples/usbip/receiver/worker_world.h"
#include "sim/process.h"

namespace {

using examples::RunningWorker;
using sim::ProcessEnd;
using usbip::Greeting;
using usbip::Keys;
using usbip::Verdict;

const Keys keys{.in = "KEYIN", .out = "KEYOUT"};

class WorkerKeys : public RunningWorker {
 protected:
  WorkerKeys() : RunningWorker({"--debug", "--keys", keys.in, keys.out}) { transmitter.accept(); }

  usbip::Greeting greetWithKeys() {
    return transmitter.greet({.hasKeys = true, .challenge = usbip::freshChallenge()});
  }
  std::string failure() {
    EXPECT_EQ(worker->waitForEnd(), ProcessEnd::exited(1));
    EXPECT_TRUE(hasDeviceBack());
    return worker->log().back();
  }
};

TEST_F(WorkerKeys, LetTheDeviceTravel) {
  EXPECT_TRUE(greetWithKeys().hasKeys);
  transmitter.prove(keys);
  static_cast<void>(transmitter.hearOffer());
  sim::serveBackground();
  transmitter.say(Verdict::welcome);
  kernel.waitForSocket();
  worker->waitForLine("1-2 (0627:0001, high speed) is exported to 127.0.0.1 port " + transmitter.port());
}

TEST_F(WorkerKeys, AreOthersThere) {
  greetWithKeys();
  transmitter.prove({.in = keys.in, .out = "another"});
  EXPECT_EQ(failure(), "1-2: refused: the keys there are different");
}

TEST_F(WorkerKeys, AreKnownThereByHalf) {
  greetWithKeys();
  transmitter.prove({.in = "another", .out = keys.out});
  EXPECT_EQ(failure(), "1-2: refused: the far side has not proved that it knows the keys");
}

TEST_F(WorkerKeys, AreNotKnownThere) {
  transmitter.greet();
  EXPECT_EQ(failure(), "1-2: refused: there are no keys there");
}

TEST_F(WorkerKeys, AreNeverLogged) {
  greetWithKeys();
  transmitter.prove({.in = "another", .out = keys.out});
  failure();
  for (const std::string& line : worker->log()) {
    EXPECT_EQ(line.find("KEY"), std::string::npos) << line;
  }
}

class WorkerKeysMissing : public RunningWorker {};

TEST_F(WorkerKeysMissing, AreAskedForThere) {
  transmitter.accept();
  transmitter.greet({.hasKeys = true});
  EXPECT_EQ(worker->waitForEnd(), ProcessEnd::exited(1));
  EXPECT_EQ(worker->log(), Words{"1-2: refused: keys are needed there"});
}

}  // namespace
