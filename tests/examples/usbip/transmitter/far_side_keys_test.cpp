// Keys at either end, right, wrong and missing.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "examples/usbip/transmitter/far_side.h"
#include "examples/usbip/transmitter/far_side_world.h"
#include "examples/usbip/transmitter/scripted_worker.h"
#include "sim/files.h"

namespace {

using examples::FarSide;
using examples::ScriptedWorker;
using usbip::Verdict;

const std::string keyFile = "/sim/keys";
const usbip::Keys keys{.in = "correct-horse", .out = "battery-staple"};

std::string writeKeyFile(const std::string& content = keys.in + " " + keys.out + "\n", mode_t mode = 0600) {
  sim::writeFile(keyFile, content);
  EXPECT_EQ(::chmod(keyFile.c_str(), mode), 0);
  return "--keys=" + keyFile;
}

using FarSideKeysFile = examples::FarSideWorld;

TEST_F(FarSideKeysFile, IsNeeded) {
  FarSide farSide({"--keys=/no/such"});
  EXPECT_EQ(farSide.nextLine(), "No such file or directory while open(\"/no/such\")");
  EXPECT_EQ(farSide.waitForExit(), sim::ProcessEnd::exited(1));
}

TEST_F(FarSideKeysFile, IsItsOwnersAlone) {
  FarSide farSide({writeKeyFile("in out\n", 0644)});
  EXPECT_EQ(farSide.nextLine(), "/sim/keys has keys and is not its owner's alone: chmod 600 /sim/keys");
  EXPECT_EQ(farSide.waitForExit(), sim::ProcessEnd::exited(1));
}

TEST_F(FarSideKeysFile, HasTwoKeys) {
  FarSide farSide({writeKeyFile("secret\n")});
  EXPECT_EQ(farSide.nextLine(), "/sim/keys has to have one line of two words, the keys IN and OUT");
  EXPECT_EQ(farSide.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(farSide.log().find("secret"), std::string::npos);
}

class FarSideKeys : public examples::FarSideWorld {
 protected:
  FarSideKeys() { farSide.waitUntilListening(); }
  void TearDown() override {
    EXPECT_EQ(farSide.log().find(keys.in), std::string::npos);
    EXPECT_EQ(farSide.log().find(keys.out), std::string::npos);
  }

  FarSide farSide{{"--debug", writeKeyFile()}};
};

TEST_F(FarSideKeys, ThatAreTheSameServeEveryMachine) {
  support::addAddress("192.0.2.1");
  ScriptedWorker worker("192.0.2.1");
  worker.greet(true);
  EXPECT_TRUE(worker.hearGreeting().hasKeys);
  EXPECT_EQ(worker.prove(keys), Verdict::welcome);
  EXPECT_EQ(worker.offer(), Verdict::welcome);
  EXPECT_NE(hubs.waitForAttach(), "");
}

TEST_F(FarSideKeys, AreNewlyProvenEachTime) {
  ScriptedWorker first;
  first.greet(true);
  ScriptedWorker second;
  second.greet(true);
  EXPECT_NE(first.hearGreeting().challenge, second.hearGreeting().challenge);
}

TEST_F(FarSideKeys, ThatAreOthersAreRefused) {
  for (const usbip::Keys& other :
       {usbip::Keys{.in = keys.in, .out = "other"}, {.in = keys.out, .out = keys.in}}) {
    ScriptedWorker worker;
    worker.greet(true);
    worker.hearGreeting();
    EXPECT_EQ(worker.prove(other), Verdict::wrongProof);
    worker.hearTheEnd();
    EXPECT_EQ(farSide.nextLine(), "127.0.0.1: has called");
    EXPECT_EQ(farSide.nextLine(), "127.0.0.1: refused: its keys are different");
  }
  EXPECT_FALSE(hubs.hasAttach());
}

TEST_F(FarSideKeys, AreNeededOfThisMachineItself) {
  ScriptedWorker worker;
  worker.greet();
  EXPECT_EQ(worker.hearGreeting().verdict, Verdict::keysNeeded);
  worker.hearTheEnd();
  EXPECT_EQ(farSide.nextLine(), "127.0.0.1: has called");
  EXPECT_EQ(farSide.nextLine(), "127.0.0.1: refused: it has no keys");
  EXPECT_FALSE(hubs.hasAttach());
}

using FarSideKeysMissing = examples::FarSideWorld;

TEST_F(FarSideKeysMissing, SendAwayAWorkerThatHasThem) {
  FarSide farSide;
  farSide.waitUntilListening();
  ScriptedWorker worker;
  worker.greet(true);
  EXPECT_EQ(worker.hearGreeting().verdict, Verdict::noKeysHere);
  worker.hearTheEnd();
  EXPECT_EQ(farSide.nextLine(), "127.0.0.1: refused: it has keys, and there are none here (--keys)");
}

}  // namespace
