// Lines of link parameters: what their fields change, and where they end.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/contract.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/last_words.h"

namespace {

using namespace std::string_literals;
using support::acceptedClient;
using support::askForParameters;
using support::commandLine;
using support::Lines;
using support::scanner;

/** What the generic worker of a device is started with after a line, between "--keys" and the device. */
struct Line : support::NamedCase {
  std::string text;
  Lines worker;
};

const std::vector<Line> lines = {
    {"SixFields", "host 7000 full wlan0 KEYIN KEYOUT", {"KEYIN", "KEYOUT", "wlan0", "host", "7000"}},
    {"FourFieldsKeepTheKeys", "host 7000 full wlan0", {"OLDIN", "OLDOUT", "wlan0", "host", "7000"}},
    {"EmptyKeysKeepTheKeys", "host 7000 full wlan0  ", {"OLDIN", "OLDOUT", "wlan0", "host", "7000"}},
    {"OneKeyKeepsTheOther", "host 7000 full wlan0 KEYIN", {"KEYIN", "OLDOUT", "wlan0", "host", "7000"}},
    {"SecondKeyKeepsTheFirst", "host 7000 full wlan0  KEYOUT", {"OLDIN", "KEYOUT", "wlan0", "host", "7000"}},
    {"TwoFieldsEmptyTheInterface", "host 7000", {"OLDIN", "OLDOUT", "", "host", "7000"}},
    {"EmptyHost", " 7000 full wlan0", {"OLDIN", "OLDOUT", "wlan0", "", "7000"}},
    {"EverySingleBlankDivides", "host 7000  wlan0 KEYIN", {"KEYIN", "OLDOUT", "wlan0", "host", "7000"}},
    {"MoreThanSixFields", "host 7000 full wlan0 IN OUT and more", {"IN", "OUT", "wlan0", "host", "7000"}},
    {"TabsAndNewlineDivideNothing",
     "host 7000 full wl\tan0 KEYIN KEYOUT\n",
     {"KEYIN", "KEYOUT\n", "wl\tan0", "host", "7000"}},
    {"MinusOneIsTheHighestPort", "host -1 full wlan0", {"OLDIN", "OLDOUT", "wlan0", "host", "65535"}},
};

class LinkLinesOf : public support::DaemonFixture, public testing::WithParamInterface<Line> {};

TEST_P(LinkLinesOf, FieldsReachTheGenericWorker) {
  start(commandLine({"--debug=ctrl", "--keys", "OLDIN", "OLDOUT"}));

  deliver(GetParam().text);

  Lines expected = support::joined({"usb_rx_generic", "--keys"}, GetParam().worker);
  expected.push_back(scanner().directory());
  EXPECT_EQ(attach(scanner()).start.arguments, expected);
}

INSTANTIATE_TEST_SUITE_P(Text, LinkLinesOf, testing::ValuesIn(lines), testing::PrintToStringParamName());

class LinkLines : public support::DaemonFixture {
 protected:
  /** Delivers a line to a daemon without a port, and checks how much of it is taken. */
  void expectTaken(const std::string& line, const std::string& byWaitingClients,
                   const std::string& byTheDaemon) {
    start(commandLine({"--debug=ctrl"}, {"transmitter", "0", "high"}));
    sim::LinkManager waiting = acceptedClient(unit, "?");
    deliver(line);
    EXPECT_EQ(waiting.receiveAll(), byWaitingClients);
    EXPECT_EQ(askForParameters(unit), byTheDaemon);
    EXPECT_EQ(attach(scanner()).start.arguments.at(3), byTheDaemon.substr(byTheDaemon.rfind(' ') + 1));
  }
};

/** A line of this many bytes, the last three of which are not the same. */
std::string lineOf(std::size_t size) {
  const std::string head = "host 7000 high eth1 KEYIN ";
  return head + std::string(size - head.size() - 3, 'k') + "xyz";
}

TEST_F(LinkLines, Of255BytesAreTakenWhole) {
  expectTaken(lineOf(255), lineOf(255), lineOf(255));
}

TEST_F(LinkLines, Of256BytesLoseTheirLastByte) {
  expectTaken(lineOf(256), lineOf(256).substr(0, 255), lineOf(256).substr(0, 255));
}

TEST_F(LinkLines, EndAtTheirFirstNulButForWaitingClients) {
  const std::string line = "host 7000 high eth1 KEYIN KEYOUT\n";
  expectTaken(line + "\0 more"s, line + "\0 more"s, line);
}

TEST_F(LinkLines, Of300BytesAreCutAndTheRestEndsTheDaemon) {
  start(commandLine({"--debug=ctrl"}, {"transmitter", "0", "high"}));
  sim::LinkManager waiting = acceptedClient(unit, "?");

  send(lineOf(300));

  EXPECT_EQ(waiting.receiveAll(), lineOf(300).substr(0, 255));
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(0));
}

TEST_F(LinkLines, WithoutAPortEndTheDaemon) {
  for (const std::string& line : {""s, "ab"s, "\0host 7000"s, "host port high eth1"s, "host  high"s,
                                  "host 65536"s, "host 0x1388"s, "host 5000\n"s}) {
    sim::Daemon& daemon = unit.startDaemon(commandLine({}));
    unit.connect().send(line);
    EXPECT_EQ(support::lastWordsOf(daemon), contract::error::badNumber) << line;
  }
}

}  // namespace
