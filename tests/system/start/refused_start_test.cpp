// Every text with which the daemon refuses to start, byte for byte.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "sim/unit.h"

namespace {

const std::string usage =
    "Usage: usb_rx_ctrl [--class={none,keyboard,scsi,all}] [--debug={ctrl,generic,keyboard,scsi}] "
    "[--syslog|--stderr] [--keys <inkey> <outkey>]  [--sock=<socketpath>] [--intf=<networkconn>] "
    "<hostname> <port> <speed>";
const std::string badPort = "bad lexical cast: source type value could not be interpreted as target";

using Arguments = std::vector<std::string>;

Arguments before(const Arguments& options, const Arguments& positionals = {"transmitter", "5000", "high"}) {
  Arguments all = options;
  all.insert(all.end(), positionals.begin(), positionals.end());
  return all;
}

Arguments withPort(const std::string& port) {
  return {"transmitter", port, "high"};
}

struct RefusedStart {
  std::string name;
  Arguments arguments;
  std::string configuration;
  std::vector<std::string> standardError;  ///< its lines, without the time where there is one
};

std::ostream& operator<<(std::ostream& out, const RefusedStart& start) {
  return out << start.name;
}

RefusedStart usageFor(const std::string& name, const Arguments& arguments) {
  return {name, arguments, "", {usage}};
}

RefusedStart badItem(const std::string& name, const std::string& option, const std::string& item) {
  return {name, before({option}), "", {"Invalid debug option '" + item + "'"}};
}

RefusedStart badConfiguredItem(const std::string& name, const std::string& configuration,
                               const std::string& item) {
  return {name, before({}), configuration, {"Invalid debug option '" + item + "'"}};
}

/** The error is a log message: its text ends in a newline, and so does the line that holds it. */
RefusedStart failing(const std::string& name, const Arguments& arguments, const std::string& error) {
  return {name, arguments, "", {error, ""}};
}

const std::vector<RefusedStart> commandLines = {
    usageFor("NoArguments", {}),
    usageFor("OneArgument", {"transmitter"}),
    usageFor("TwoArguments", {"transmitter", "5000"}),
    usageFor("TwoArgumentsThatLookLikeOptions", {"--debug=bogus", "--class=bogus"}),
    usageFor("UnknownLongOption", before({"--verbose"})),
    usageFor("UnknownShortOption", before({"-d"})),
    usageFor("HelpIsUnknownToo", before({"--help"})),
    usageFor("FourthPositional", before({"eth1"})),
    usageFor("EmptyOption", before({""})),
    usageFor("OptionInCapitals", before({"--SYSLOG"})),
    usageFor("ListOptionWithoutItsEqualsSign", before({"--debug"})),
    usageFor("ClassOptionWithoutItsEqualsSign", before({"--class"})),
    usageFor("ListOptionWithItsListApart", before({"--debug", "ctrl"})),
    usageFor("SocketOptionWithoutItsEqualsSign", before({"--sock"})),
    usageFor("InterfaceOptionWithoutItsEqualsSign", before({"--intf"})),
    usageFor("SyslogOptionWithAValue", before({"--syslog=1"})),
    usageFor("StandardErrorOptionWithAValue", before({"--stderr="})),
    usageFor("KeysOptionWithAValue", before({"--keys=a,b"})),
    usageFor("ThirdKey", before({"--keys", "in", "out", "more"})),
    usageFor("UnknownOptionBehindGoodOnes", before({"--debug=ctrl", "--class=all", "--syslog", "--what"})),
    usageFor("UnknownOptionBeforeABadList", before({"--what", "--debug=bogus"})),
    usageFor("UnknownOptionBeforeABadPort", before({"--what"}, withPort("bogus"))),
};

const std::vector<RefusedStart> lists = {
    badItem("BadDebugItem", "--debug=bogus", "bogus"),
    badItem("BadClassItemIsCalledADebugOptionToo", "--class=bogus", "bogus"),
    badItem("ClassItemInCapitals", "--class=Keyboard", "Keyboard"),
    badItem("DebugItemInCapitals", "--debug=CTRL", "CTRL"),
    badItem("EmptyItemInTheMiddle", "--debug=ctrl,,scsi", ""),
    badItem("EmptyClassItemInTheMiddle", "--class=keyboard,,scsi", ""),
    badItem("LeadingComma", "--class=,keyboard", ""),
    badItem("OnlyAComma", "--debug=,", ""),
    badItem("BlankBeforeAnItem", "--debug=ctrl, scsi", " scsi"),
    badItem("BlankAfterAnItem", "--class=all ", "all "),
    badItem("ItemThatBeginsLikeAGoodOne", "--class=keyboards", "keyboards"),
    badItem("BeginningOfAGoodItem", "--debug=key", "key"),
    badItem("FirstOfTwoBadItems", "--class=none,one,two", "one"),
    badItem("AllIsNoDebugItem", "--debug=all", "all"),
    badItem("GenericIsNoClassItem", "--class=generic", "generic"),
    badItem("SecondEqualsSign", "--debug==ctrl", "=ctrl"),
    badItem("PercentSigns", "--debug=%s%n", "%s%n"),
    {"BadListBeforeAnUnknownOption",
     before({"--class=bogus", "--what"}),
     "",
     {"Invalid debug option 'bogus'"}},
    {"BadListThoughSyslogIsChosen",
     before({"--syslog", "--debug=bogus"}),
     "",
     {"Invalid debug option 'bogus'"}},
    {"FirstOfTwoBadLists", before({"--class=one", "--debug=two"}), "", {"Invalid debug option 'one'"}},
};

const std::vector<RefusedStart> configurations = {
    badConfiguredItem("BadConfiguredDebugItem", "[usb]\ndebug = ctrl,bogus\n", "bogus"),
    badConfiguredItem("BadConfiguredClassItem", "[usb]\nclasses = bogus\n", "bogus"),
    badConfiguredItem("DebugListBeforeClassList", "[usb]\nclasses = one\ndebug = two\n", "two"),
    {"BadConfiguredDebugItemThoughClassesAreGiven",
     before({"--class=all"}),
     "[usb]\ndebug = bogus\n",
     {"Invalid debug option 'bogus'"}},
    {"BadConfiguredClassItemThoughDebugIsGiven",
     before({"--debug=ctrl"}),
     "[usb]\nclasses = bogus\n",
     {"Invalid debug option 'bogus'"}},
    {"BadConfiguredListBeforeABadPort", withPort("x"), "[usb]\ndebug = no\n", {"Invalid debug option 'no'"}},
    {"BadListThoughTheConfigurationChoosesSyslog",
     before({}),
     "[usb]\nlog_to_syslog = 1\nclasses = bogus\n",
     {"Invalid debug option 'bogus'"}},
};

const std::vector<RefusedStart> failures = {
    failing("WordInPlaceOfThePort", withPort("five"), badPort),
    failing("NoPort", withPort(""), badPort),
    failing("PortOf65536", withPort("65536"), badPort),
    failing("PortFarTooBig", withPort("99999999999999999999"), badPort),
    failing("HexadecimalPort", withPort("0x1388"), badPort),
    failing("PortWithAFraction", withPort("5000.0"), badPort),
    failing("PortAfterABlank", withPort(" 5000"), badPort),
    failing("PortBeforeABlank", withPort("5000 "), badPort),
    failing("PortBeforeALetter", withPort("5000x"), badPort),
    failing("TwoSigns", withPort("+-5"), badPort),
    failing("OptionInPlaceOfThePort", {"--class=all", "--debug=ctrl", "--syslog"}, badPort),
    failing("BadPortBeforeABadSocket", before({"--sock=/missing/socket"}, withPort("x")), badPort),
    failing("SocketInAMissingDirectory", before({"--sock=/missing/socket"}),
            "No such file or directory while bind()"),
    failing("SocketBelowAFile", before({"--sock=/vel/quor.conf/socket"}), "Not a directory while bind()"),
    failing("SocketInThePlaceOfADirectory", before({"--sock=/vel"}), "Address already in use while bind()"),
    failing("SocketPathOf108Bytes", before({"--sock=/vel/" + std::string(103, 's')}),
            "Invalid argument while bind()"),
};

class RefusedStarts : public testing::TestWithParam<RefusedStart> {};

TEST_P(RefusedStarts, AreToldOnStandardErrorAndEndWithStatusOne) {
  const RefusedStart& start = GetParam();
  sim::Unit unit;
  unit.display.removeFifo();  // nobody waits for the daemon to open it
  unit.writeConfig(start.configuration);

  sim::Daemon& daemon = unit.startDaemon(start.arguments);

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(daemon.messages(), start.standardError);
  EXPECT_TRUE(daemon.standardError().ends_with('\n'));
  EXPECT_EQ(daemon.standardOutput(), "");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
  EXPECT_FALSE(std::filesystem::exists(sim::LinkManager::usualPath));
}

std::string nameOf(const testing::TestParamInfo<RefusedStart>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(CommandLines, RefusedStarts, testing::ValuesIn(commandLines), nameOf);
INSTANTIATE_TEST_SUITE_P(Lists, RefusedStarts, testing::ValuesIn(lists), nameOf);
INSTANTIATE_TEST_SUITE_P(Configurations, RefusedStarts, testing::ValuesIn(configurations), nameOf);
INSTANTIATE_TEST_SUITE_P(Failures, RefusedStarts, testing::ValuesIn(failures), nameOf);

}  // namespace
