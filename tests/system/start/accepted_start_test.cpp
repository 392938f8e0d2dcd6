// What the command line makes of the generic worker's own.

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"

namespace {

using Arguments = std::vector<std::string>;

constexpr const char* directory = "/sys/devices/platform/usb-host.0/usb1/1-1";

const std::string longestSocket = "/vel/" + std::string(102, 's');

struct AcceptedStart {
  std::string name;
  Arguments arguments;  ///< the daemon's
  Arguments worker;     ///< the generic worker's
};

std::ostream& operator<<(std::ostream& out, const AcceptedStart& start) {
  return out << start.name;
}

AcceptedStart withOptions(const std::string& name, const Arguments& options, const Arguments& workerOptions) {
  Arguments arguments = options;
  arguments.insert(arguments.end(), {"transmitter", "5000", "high"});
  return {name, arguments, genericWorker(directory, workerOptions)};
}

AcceptedStart withInterface(const std::string& name, const Arguments& options, const std::string& interface) {
  AcceptedStart start = withOptions(name, options, {});
  start.worker[1] = interface;
  return start;
}

AcceptedStart withPort(const std::string& name, const std::string& port, const std::string& workersPort) {
  return {name,
          {"--debug=ctrl", "transmitter", port, "high"},
          {"usb_rx_generic", "eth1", "transmitter", workersPort, directory}};
}

AcceptedStart withHost(const std::string& name, const Arguments& arguments, const std::string& host) {
  return {name, arguments, {"usb_rx_generic", "eth1", host, "5000", directory}};
}

const std::vector<AcceptedStart> options = {
    withOptions("OnlyThePositionals", {}, {}),
    withOptions("Keys", {"--keys", "in", "out"}, {"--keys", "in", "out"}),
    withOptions("EmptyKeys", {"--keys", "", ""}, {"--keys", "", ""}),
    withOptions("KeysThatLookLikeOptions", {"--keys", "--syslog", "--what"},
                {"--keys", "--syslog", "--what"}),
    withOptions("LaterKeys", {"--keys", "a", "b", "--keys", "c", "d"}, {"--keys", "c", "d"}),
    withOptions("OptionBehindTheKeys", {"--keys", "a", "b", "--debug=generic"},
                {"--debug", "--stderr", "--keys", "a", "b"}),
    withOptions("SecondKeyFromThePositionals", {"--keys", "in"}, {"--keys", "in", "transmitter"}),
    withOptions("BothKeysFromThePositionals", {"--keys"}, {"--keys", "transmitter", "5000"}),
    withOptions("Socket", {"--sock=/vel/control"}, {"--sock=/vel/control"}),
    withOptions("LaterSocket", {"--sock=/vel/one", "--sock=/vel/two"}, {"--sock=/vel/two"}),
    withOptions("UsualSocket", {"--sock=/vel/one", "--sock=/var/run/usb_rx"}, {}),
    withOptions("LongestSocket", {"--sock=" + longestSocket}, {"--sock=" + longestSocket}),
    withOptions("GenericDebug", {"--debug=generic"}, {"--debug", "--stderr"}),
    withOptions("DebugListsAddUp", {"--debug=generic", "--debug=keyboard"}, {"--debug", "--stderr"}),
    withOptions("NoneClearsNoDebug", {"--debug=generic,none", "--debug=none"}, {"--debug", "--stderr"}),
    withOptions("TrailingComma", {"--debug=generic,"}, {"--debug", "--stderr"}),
    withOptions("EmptyDebugList", {"--debug="}, {}),
    withOptions("DebugOfNobody", {"--debug=none"}, {}),
    withOptions("DebugOfOthers", {"--debug=ctrl,keyboard,scsi"}, {}),
    withOptions("DebugToSyslog", {"--syslog", "--debug=generic"}, {"--debug", "--syslog"}),
    withOptions("SyslogBehindTheDebugList", {"--debug=generic", "--syslog"}, {"--debug", "--syslog"}),
    withOptions("LaterStandardError", {"--syslog", "--stderr", "--debug=generic"}, {"--debug", "--stderr"}),
    withOptions("LaterSyslog", {"--stderr", "--syslog", "--debug=generic"}, {"--debug", "--syslog"}),
    withOptions("SyslogWithoutDebug", {"--syslog"}, {}),
    withInterface("Interface", {"--intf=wlan0"}, "wlan0"),
    withInterface("LaterInterface", {"--intf=wlan0", "--intf=eth7"}, "eth7"),
    withInterface("EmptyInterface", {"--intf="}, ""),
    withInterface("InterfaceWithAnEqualsSign", {"--intf=a=b"}, "a=b"),
    {"EverythingAtOnce",
     {"--keys", "k1", "k2", "--sock=/vel/c", "--intf=br0", "--debug=generic", "--class=all", "--stderr",
      "10.0.0.7", "65533", "low"},
     {"usb_rx_generic", "--debug", "--stderr", "--keys", "k1", "k2", "--sock=/vel/c", "br0", "10.0.0.7",
      "65533", directory}},
};

const std::vector<AcceptedStart> positionals = {
    withHost("OptionAsHost", {"--class=bogus", "5000", "high"}, "--class=bogus"),
    withHost("DebugOptionAsHost", {"--debug=generic", "5000", "high"}, "--debug=generic"),
    withHost("KeysOptionAsHost", {"--keys", "5000", "high"}, "--keys"),
    withHost("UnknownOptionAsHost", {"--what", "5000", "high"}, "--what"),
    withHost("OptionsAsHostAndSpeed", {"--debug=generic", "5000", "--debug=bogus"}, "--debug=generic"),
    withHost("OptionAsSpeedBehindOptions", {"--stderr", "transmitter", "5000", "--what"}, "transmitter"),
    withHost("EmptyHost", {"", "5000", "high"}, ""),
    withHost("EmptySpeed", {"transmitter", "5000", ""}, "transmitter"),
};

const std::vector<AcceptedStart> ports = {
    withPort("GreatestPort", "65535", "65535"),     withPort("PortZero", "0", "0"),
    withPort("LeadingZeros", "0005000", "5000"),    withPort("PlusSign", "+5000", "5000"),
    withPort("MinusOneWrapsAround", "-1", "65535"), withPort("NegativePortWrapsAround", "-65535", "1"),
};

class AcceptedStarts : public testing::TestWithParam<AcceptedStart> {};

TEST_P(AcceptedStarts, ReachTheGenericWorker) {
  const AcceptedStart& start = GetParam();
  sim::Unit unit;
  unit.startDaemon(start.arguments);
  unit.waitUntilServing();

  ASSERT_EQ(unit.plug(scanner()), directory);

  EXPECT_EQ(unit.workers.waitForWorker().start.arguments, start.worker);
}

std::string nameOf(const testing::TestParamInfo<AcceptedStart>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Options, AcceptedStarts, testing::ValuesIn(options), nameOf);
INSTANTIATE_TEST_SUITE_P(Positionals, AcceptedStarts, testing::ValuesIn(positionals), nameOf);
INSTANTIATE_TEST_SUITE_P(Ports, AcceptedStarts, testing::ValuesIn(ports), nameOf);

TEST(Start, TakesTheLastArgumentAsTheSpeedOfTheLink) {
  sim::Unit unit;
  unit.startDaemon({"--debug=ctrl", "high", "5000", "full"});
  unit.waitUntilServing();

  unit.plug(fastScanner());

  EXPECT_EQ(unit.display.waitForWrite(),
            "High speed Fast Scanner is not supported on a full speed only port\n");
}

TEST(Start, NeedsNoOptionToServeTheUsualSocketWithoutAWord) {
  sim::Unit unit;
  sim::Unit::writeConfig("[usb]\n");
  sim::Daemon& daemon = unit.startDaemon({"transmitter", "5000", "full"});
  sim::LinkManager client("/var/run/usb_rx");

  client.send("?");

  EXPECT_EQ(client.receiveAll(), "");
  EXPECT_EQ(daemon.standardError(), "");
  EXPECT_EQ(daemon.standardOutput(), "");
}

}  // namespace
