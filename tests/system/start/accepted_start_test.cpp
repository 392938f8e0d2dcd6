// What the command line makes of the generic worker's own.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/contract.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"

namespace {

using support::commandLine;
using support::Lines;

struct Start : support::NamedCase {
  Lines arguments;  ///< the daemon's
  Lines worker;     ///< the generic worker's
};

const std::string directory = support::scanner().directory();
const std::string longestSocket = "/vel/" + std::string(102, 's');
const Lines debugsToStandardError = {"--debug", "--stderr"};
const Lines debugsToSyslog = {"--debug", "--syslog"};

Start withOptions(const char* name, const Lines& options, const Lines& workerOptions) {
  return {name, commandLine(options), support::genericWorker(directory, workerOptions)};
}

Start withHost(const char* name, const Lines& arguments) {
  return {name, arguments, {"usb_rx_generic", "eth1", arguments.front(), "5000", directory}};
}

Start withPort(const char* name, const std::string& port, const std::string& workersPort) {
  return {name,
          commandLine({"--debug=ctrl"}, {"transmitter", port, "high"}),
          {"usb_rx_generic", "eth1", "transmitter", workersPort, directory}};
}

const std::vector<Start> starts = {
    withOptions("OnlyTheLink", {}, {}),
    withOptions("Keys", {"--keys", "in", "out"}, {"--keys", "in", "out"}),
    withOptions("EmptyKeys", {"--keys", "", ""}, {"--keys", "", ""}),
    withOptions("KeysThatLookLikeOptions", {"--keys", "--syslog", "--what"},
                {"--keys", "--syslog", "--what"}),
    withOptions("BothKeysFromTheLink", {"--keys"}, {"--keys", "transmitter", "5000"}),
    withOptions("Socket", {"--sock=/vel/control"}, {"--sock=/vel/control"}),
    withOptions("UsualSocket", {"--sock=/vel/one", "--sock=/var/run/usb_rx"}, {}),
    withOptions("LongestSocket", {"--sock=" + longestSocket}, {"--sock=" + longestSocket}),
    withOptions("GenericDebug", {"--debug=generic"}, debugsToStandardError),
    withOptions("NoneClearsNoDebug", {"--debug=generic,none", "--debug=none"}, debugsToStandardError),
    withOptions("DebugOfOthers", {"--debug=ctrl,keyboard,scsi"}, {}),
    withOptions("OptionBehindTheKeys", {"--keys", "a", "b", "--debug=generic"},
                {"--debug", "--stderr", "--keys", "a", "b"}),
    withOptions("DebugToSyslog", {"--syslog", "--debug=generic"}, debugsToSyslog),
    withOptions("SyslogBehindTheDebugList", {"--debug=generic", "--syslog"}, debugsToSyslog),
    withOptions("LaterStandardError", {"--syslog", "--stderr", "--debug=generic"}, debugsToStandardError),
    withOptions("SyslogWithoutDebug", {"--syslog"}, {}),
    {"Interface",
     commandLine({"--intf=wlan0"}),
     {"usb_rx_generic", "wlan0", "transmitter", "5000", directory}},
    {"EverythingAtOnce",
     commandLine(
         {"--keys", "k1", "k2", "--sock=/vel/c", "--intf=br0", "--debug=generic", "--class=all", "--stderr"},
         {"10.0.0.7", "65533", "low"}),
     {"usb_rx_generic", "--debug", "--stderr", "--keys", "k1", "k2", "--sock=/vel/c", "br0", "10.0.0.7",
      "65533", directory}},
    withHost("BadOptionAsHost", {"--class=bogus", "5000", "high"}),
    withHost("KeysOptionAsHost", {"--keys", "5000", "high"}),
    withHost("OptionsAsHostAndSpeed", {"--debug=generic", "5000", "--debug=bogus"}),
    withHost("EmptyHost", {"", "5000", "high"}),
    withHost("EmptySpeed", {"transmitter", "5000", ""}),
    withPort("GreatestPort", "65535", "65535"),
    withPort("PortZero", "0", "0"),
    withPort("LeadingZeros", "0005000", "5000"),
    withPort("PlusSign", "+5000", "5000"),
    withPort("MinusOneWrapsAround", "-1", "65535"),
    withPort("NegativePortWrapsAround", "-65535", "1"),
};

class AcceptedStart : public support::DaemonFixture, public testing::WithParamInterface<Start> {};

TEST_P(AcceptedStart, ReachesTheGenericWorker) {
  start(GetParam().arguments);

  EXPECT_EQ(attach(support::scanner()).start.arguments, GetParam().worker);
}

INSTANTIATE_TEST_SUITE_P(With, AcceptedStart, testing::ValuesIn(starts), testing::PrintToStringParamName());

using AcceptedStartWith = support::DaemonFixture;

TEST_F(AcceptedStartWith, FullAsItsLastArgumentRefusesHighSpeedDevices) {
  start(commandLine({"--debug=ctrl"}, {"high", "5000", "full"}));

  unit.plug(support::fastScanner());

  EXPECT_EQ(unit.display.waitForWrite(), contract::display::highSpeed("Fast Scanner") + "\n");
}

TEST_F(AcceptedStartWith, NoOptionServesTheUsualSocketWithoutAWord) {
  sim::Unit::writeConfig("[usb]\n");
  sim::Daemon& daemon = unit.startDaemon(commandLine({}));
  sim::LinkManager client("/var/run/usb_rx");

  client.send("?");

  EXPECT_EQ(client.receiveAll(), "");
  EXPECT_EQ(daemon.standardError() + daemon.standardOutput(), "");
}

}  // namespace
