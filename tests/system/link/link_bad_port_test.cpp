#include <gtest/gtest.h>

#include "sim/unit.h"

namespace {

using Lines = std::vector<std::string>;

/** What a daemon says that gets a line with such a port; it must end with status 1. */
Lines lastWordsAfterPort(const std::string& port) {
  sim::Unit unit;
  unit.startDaemon({"transmitter", "5000", "high"});
  sim::LinkManager client = unit.connect();
  client.send("host " + port + " high eth1 KEYIN KEYOUT");
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().standardOutput().find("KEY"), std::string::npos);
  return unit.daemon().messages();
}

const Lines badCast = {"bad lexical cast: source type value could not be interpreted as target", ""};

}  // namespace

TEST(ControlBadPort, AWordEndsTheDaemon) {
  EXPECT_EQ(lastWordsAfterPort("port"), badCast);
}

TEST(ControlBadPort, ANumberAboveTheHighestPortEndsTheDaemon) {
  EXPECT_EQ(lastWordsAfterPort("65536"), badCast);
}

TEST(ControlBadPort, NothingEndsTheDaemon) {
  EXPECT_EQ(lastWordsAfterPort(""), badCast);
}

TEST(ControlBadPort, ANumberWithSomethingBehindItEndsTheDaemon) {
  EXPECT_EQ(lastWordsAfterPort("5000\n"), badCast);
}

TEST(ControlBadPort, AHexadecimalNumberEndsTheDaemon) {
  EXPECT_EQ(lastWordsAfterPort("0x1388"), badCast);
}

TEST(ControlBadPort, LeavesWaitingClientsWithoutAnAnswer) {
  sim::Unit unit;
  unit.startDaemon({"transmitter", "0", "high"});
  sim::LinkManager waiting = unit.connect();
  waiting.send("?");
  unit.connect().send("host port high eth1");
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(waiting.receiveAll(), "");
}
