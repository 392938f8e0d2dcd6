#include <gtest/gtest.h>

#include "system/support/control_messages.h"
#include "system/support/eventually.h"

namespace {

using Lines = std::vector<std::string>;

constexpr const char* badCast = "bad lexical cast: source type value could not be interpreted as target";

/** A line of this many bytes; its last field, the second key, ends in "...xyz" at the end of the line. */
std::string lineOfLength(std::size_t length) {
  const std::string head = "host 7000 high eth1 KEYIN ";
  std::string key(length - head.size() - 3, 'k');
  return head + key + "xyz";
}

class ControlLineLengths : public testing::Test {
 protected:
  void start(const std::string& port = "5000") {
    unit.startDaemon({"--debug=ctrl", "transmitter", port, "high"});
    unit.waitUntilServing();
  }

  /** A client that waits for parameters; the port is 0. */
  sim::LinkManager waitingClient() {
    const std::size_t before = unit.daemon().openDescriptors().size();
    sim::LinkManager client = unit.connect();
    client.send("?");
    eventually("a client kept", [&] { return unit.daemon().openDescriptors().size() > before; });
    return client;
  }

  std::string secondKeyOfNextWorker() {
    unit.plug(sim::UsbDevice{});
    return unit.workers.waitForWorker().start.arguments.at(3);
  }

  sim::Unit unit;
};

}  // namespace

TEST_F(ControlLineLengths, Of254BytesAreTakenWhole) {
  start();
  const std::string line = lineOfLength(254);
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(askForParameters(unit), line);
  EXPECT_EQ(secondKeyOfNextWorker(), line.substr(line.rfind(' ') + 1));
}

TEST_F(ControlLineLengths, Of255BytesAreTakenWhole) {
  start();
  const std::string line = lineOfLength(255);
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(askForParameters(unit), line);
  EXPECT_EQ(secondKeyOfNextWorker(), line.substr(line.rfind(' ') + 1));
}

TEST_F(ControlLineLengths, Of256BytesLoseTheirLastByte) {
  start();
  const std::string line = lineOfLength(256);
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(askForParameters(unit), line.substr(0, 255));
  const std::string key = secondKeyOfNextWorker();
  EXPECT_EQ(key, line.substr(line.rfind(' ') + 1, key.size()));
  EXPECT_TRUE(key.ends_with("kxy"));
}

TEST_F(ControlLineLengths, Of256BytesLoseTheirLastByteForWaitingClientsToo) {
  start("0");
  sim::LinkManager client = waitingClient();
  const std::string line = lineOfLength(256);
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(client.receiveAll(), line.substr(0, 255));
}

TEST_F(ControlLineLengths, Of300BytesAreCutAndTheRestEndsTheDaemon) {
  start("0");
  sim::LinkManager client = waitingClient();
  sim::LinkManager manager = unit.connect();
  const std::string line = lineOfLength(300);
  manager.send(line);
  EXPECT_EQ(client.receiveAll(), line.substr(0, 255));
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
}

TEST_F(ControlLineLengths, OfTwoBytesAreLinesAndNoQueries) {
  start();
  sim::LinkManager client = unit.connect();
  client.send("ab");
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(client.receiveAll(), "");
}

TEST_F(ControlLineLengths, OfNoByteHaveNoPort) {
  unit.startDaemon({"transmitter", "5000", "high"});
  unit.connect().halfClose();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().messages(), Lines({badCast, ""}));
}

TEST_F(ControlLineLengths, OfAClientThatHasGoneHaveNoPort) {
  unit.startDaemon({"transmitter", "5000", "high"});
  unit.connect().close();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().messages(), Lines({badCast, ""}));
}

TEST_F(ControlLineLengths, EndAtTheirFirstNulForTheDaemon) {
  start();
  const std::string line("host 7000 high eth1 KEYIN KEYOUT\0 more", 38);
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(askForParameters(unit), "host 7000 high eth1 KEYIN KEYOUT");
  EXPECT_EQ(secondKeyOfNextWorker(), "KEYOUT");
}

TEST_F(ControlLineLengths, DoNotEndAtANulForWaitingClients) {
  start("0");
  sim::LinkManager client = waitingClient();
  const std::string line("host 7000 high eth1 KEYIN KEYOUT\0 more", 38);
  const sim::LinkManager manager = deliver(unit, line);
  EXPECT_EQ(client.receiveAll(), line);
}

TEST_F(ControlLineLengths, ThatBeginWithANulHaveNoPort) {
  start();
  unit.connect().send(std::string("\0host 7000", 10));
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
}

TEST_F(ControlLineLengths, CountATrailingNewline) {
  start("0");
  sim::LinkManager client = waitingClient();
  const sim::LinkManager manager = deliver(unit, "host 7000 high eth1 KEYIN KEYOUT\n");
  EXPECT_EQ(client.receiveAll(), "host 7000 high eth1 KEYIN KEYOUT\n");
  EXPECT_EQ(askForParameters(unit), "host 7000 high eth1 KEYIN KEYOUT\n");
}

TEST_F(ControlLineLengths, AreKeptWithAllTheirBlanks) {
  start();
  const sim::LinkManager manager = deliver(unit, "host 7000 high eth1   more  ");
  EXPECT_EQ(askForParameters(unit), "host 7000 high eth1   more  ");
}
