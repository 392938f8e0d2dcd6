// Every text with which the daemon refuses to start, and the order of its checks.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "support/named_case.h"
#include "system/support/daemon_fixture.h"

namespace {

using support::commandLine;
using support::Lines;

struct Start : support::NamedCase {
  Lines arguments;
  std::string standardError;  ///< without the time where there is one
  std::string configuration;
};

Start usageFor(const char* name, const Lines& arguments) {
  return {name, arguments, contract::error::usage, ""};
}

Start badItem(const char* name, const Lines& options, const std::string& item,
              const std::string& configuration = {}) {
  return {name, commandLine(options), contract::error::invalidItem(item), configuration};
}

/** The error is a log message: its text ends in a newline, and so does the line that holds it. */
Start failing(const char* name, const Lines& arguments, const std::string& error) {
  return {name, arguments, error + "\n\n", ""};
}

Start badPort(const char* name, const std::string& port) {
  return failing(name, commandLine({}, {"transmitter", port, "high"}), contract::error::badNumber);
}

Start badSocket(const char* name, const std::string& path, const std::string& reason) {
  return failing(name, commandLine({"--sock=" + path}), contract::error::bindFailed(reason));
}

const std::vector<Start> commandLines = {
    usageFor("NoArguments", {}),
    usageFor("OneArgument", {"transmitter"}),
    usageFor("TwoArguments", {"transmitter", "5000"}),
    usageFor("TwoArgumentsThatLookLikeOptions", {"--debug=bogus", "--class=bogus"}),
    usageFor("UnknownOption", commandLine({"--help"})),
    usageFor("FourthArgumentOfTheLink", commandLine({"eth1"})),
    usageFor("EmptyOption", commandLine({""})),
    usageFor("ListOptionWithItsListApart", commandLine({"--debug", "ctrl"})),
    usageFor("SyslogOptionWithAValue", commandLine({"--syslog=1"})),
    usageFor("ThirdKey", commandLine({"--keys", "in", "out", "more"})),
    usageFor("UnknownOptionBehindGoodOnes",
             commandLine({"--debug=ctrl", "--class=all", "--syslog", "--what"})),
    usageFor("UnknownOptionBeforeABadList", commandLine({"--what", "--debug=bogus"})),
    usageFor("UnknownOptionBeforeABadPort", commandLine({"--what"}, {"transmitter", "bogus", "high"})),
    badItem("BadDebugItem", {"--debug=bogus"}, "bogus"),
    badItem("BadClassItemIsCalledADebugOptionToo", {"--class=bogus"}, "bogus"),
    badItem("EmptyItemInTheMiddle", {"--debug=ctrl,,scsi"}, ""),
    badItem("BlankBeforeAnItem", {"--debug=ctrl, scsi"}, " scsi"),
    badItem("FirstOfTwoBadItems", {"--class=none,one,two"}, "one"),
    badItem("AllIsNoDebugItem", {"--debug=all"}, "all"),
    badItem("GenericIsNoClassItem", {"--class=generic"}, "generic"),
    badItem("SecondEqualsSign", {"--debug==ctrl"}, "=ctrl"),
    badItem("PercentSigns", {"--debug=%s%n"}, "%s%n"),
    badItem("BadListBeforeAnUnknownOption", {"--class=bogus", "--what"}, "bogus"),
    badItem("BadListThoughSyslogIsChosen", {"--syslog", "--debug=bogus"}, "bogus"),
    badItem("FirstOfTwoBadLists", {"--class=one", "--debug=two"}, "one"),
};

const std::vector<Start> configurations = {
    badItem("BadDebugItem", {}, "bogus", "[usb]\ndebug = ctrl,bogus\n"),
    badItem("BadClassItem", {}, "bogus", "[usb]\nclasses = bogus\n"),
    badItem("DebugListBeforeClassList", {}, "two", "[usb]\nclasses = one\ndebug = two\n"),
    badItem("BadDebugItemThoughClassesAreGiven", {"--class=all"}, "bogus", "[usb]\ndebug = bogus\n"),
    badItem("BadClassItemThoughDebugIsGiven", {"--debug=ctrl"}, "bogus", "[usb]\nclasses = bogus\n"),
    badItem("BadListThoughItChoosesSyslog", {}, "bogus", "[usb]\nlog_to_syslog = 1\nclasses = bogus\n"),
    {"BadListBeforeABadPort", commandLine({}, {"transmitter", "x", "high"}),
     contract::error::invalidItem("no"), "[usb]\ndebug = no\n"},
};

const std::vector<Start> failures = {
    badPort("WordAsPort", "five"),
    badPort("NoPort", ""),
    badPort("PortOf65536", "65536"),
    badPort("PortFarTooBig", "99999999999999999999"),
    badPort("HexadecimalPort", "0x1388"),
    badPort("PortWithAFraction", "5000.0"),
    badPort("PortAfterABlank", " 5000"),
    badPort("PortBeforeABlank", "5000 "),
    badPort("PortBeforeALetter", "5000x"),
    badPort("TwoSigns", "+-5"),
    badPort("OptionAsPort", "--debug=ctrl"),
    failing("BadPortBeforeABadSocket", commandLine({"--sock=/missing/socket"}, {"transmitter", "x", "high"}),
            contract::error::badNumber),
    badSocket("SocketInAMissingDirectory", "/missing/socket", contract::reason::noSuchFile),
    badSocket("SocketBelowAFile", "/vel/quor.conf/socket", contract::reason::notDirectory),
    badSocket("SocketInThePlaceOfADirectory", "/vel", contract::reason::addressInUse),
    badSocket("SocketPathOf108Bytes", "/vel/" + std::string(103, 's'), contract::reason::invalidArgument),
};

class RefusedStart : public support::DaemonFixture, public testing::WithParamInterface<Start> {};

TEST_P(RefusedStart, PrintsAnErrorAndExitsWithStatusOne) {
  unit.display.removeFifo();  // nobody waits for the daemon to open it
  unit.writeConfig(GetParam().configuration);

  sim::Daemon& daemon = unit.startDaemon(GetParam().arguments);

  EXPECT_EQ(daemon.waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(sim::messageOf(daemon.standardError()), GetParam().standardError);
  EXPECT_EQ(daemon.standardOutput(), "");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
  EXPECT_FALSE(std::filesystem::exists(sim::LinkManager::usualPath));
}

INSTANTIATE_TEST_SUITE_P(CommandLines, RefusedStart, testing::ValuesIn(commandLines),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Configurations, RefusedStart, testing::ValuesIn(configurations),
                         testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Failures, RefusedStart, testing::ValuesIn(failures),
                         testing::PrintToStringParamName());

}  // namespace
