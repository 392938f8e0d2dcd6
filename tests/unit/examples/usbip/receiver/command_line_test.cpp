#include "examples/usbip/receiver/command_line.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "support/named_case.h"
#include "support/thrown.h"

namespace {

using usbip::Arguments;
using usbip::LogDestination;
using usbip::parseArguments;
using Words = std::vector<std::string>;

const Words operands{"eth1", "transmitter", "5000", "/sys/devices/usb1/1-2"};

Words withOptions(Words options) {
  options.insert(options.end(), operands.begin(), operands.end());
  return options;
}

std::string refusalOf(const Words& arguments) {
  return support::caught<usbip::WrongUse>([&] { static_cast<void>(parseArguments(arguments)); }).message;
}

TEST(CommandLineOfWorker, HasFourOperands) {
  const Arguments arguments = parseArguments(operands);
  EXPECT_EQ(arguments.transmitter.interface, "eth1");
  EXPECT_EQ(arguments.transmitter.host, "transmitter");
  EXPECT_EQ(arguments.transmitter.port, "5000");
  EXPECT_EQ(arguments.device, "/sys/devices/usb1/1-2");
}

TEST(CommandLineOfWorker, NeedsNoOption) {
  const Arguments arguments = parseArguments(operands);
  EXPECT_FALSE(arguments.debugging);
  EXPECT_EQ(arguments.destination, LogDestination::standardError);
  EXPECT_FALSE(arguments.keys);
  EXPECT_FALSE(arguments.patience);
}

TEST(CommandLineOfWorker, TakesAllThatTheDaemonGives) {
  const Arguments arguments = parseArguments(withOptions(
      {"--debug", "--syslog", "--keys", "in key", "out key", "--sock=/tmp/usb_rx", "--timeout", "10"}));
  EXPECT_TRUE(arguments.debugging);
  EXPECT_EQ(arguments.destination, LogDestination::syslog);
  ASSERT_TRUE(arguments.keys);
  EXPECT_EQ(arguments.keys->in, "in key");
  EXPECT_EQ(arguments.keys->out, "out key");
  EXPECT_EQ(arguments.patience, std::chrono::seconds(10));
  EXPECT_EQ(arguments.device, operands.back());
}

TEST(CommandLineOfWorker, LogsWhereTheLastOfTwoOptionsSays) {
  EXPECT_EQ(parseArguments(withOptions({"--syslog", "--stderr"})).destination, LogDestination::standardError);
}

TEST(CommandLineOfWorker, TakesKeysThatLookLikeOptions) {
  const Arguments arguments = parseArguments(withOptions({"--keys", "--debug", "--timeout"}));
  EXPECT_FALSE(arguments.debugging);
  EXPECT_FALSE(arguments.patience);
  ASSERT_TRUE(arguments.keys);
  EXPECT_EQ(arguments.keys->in, "--debug");
  EXPECT_EQ(arguments.keys->out, "--timeout");
}

TEST(CommandLineOfWorker, TakesOperandsThatAreEmptyOrLookLikeOptions) {
  const Arguments arguments = parseArguments({"", "--debug", "0", "--syslog"});
  EXPECT_EQ(arguments.transmitter.interface, "");
  EXPECT_EQ(arguments.transmitter.host, "--debug");
  EXPECT_EQ(arguments.device, "--syslog");
  EXPECT_FALSE(arguments.debugging);
}

struct Seconds : support::NamedCase {
  std::string text;
  int meant;
};

class CommandLineSeconds : public testing::TestWithParam<Seconds> {};

TEST_P(CommandLineSeconds, AreReadAsTheDaemonReadsThem) {
  EXPECT_EQ(parseArguments(withOptions({"--timeout", GetParam().text})).patience,
            std::chrono::seconds(GetParam().meant));
}

INSTANTIATE_TEST_SUITE_P(Each, CommandLineSeconds,
                         testing::Values(Seconds{{"Number"}, "12", 12}, Seconds{{"NoNumber"}, "abc", 0},
                                         Seconds{{"Empty"}, "", 0}, Seconds{{"Negative"}, "-5", 0},
                                         Seconds{{"NumberAndUnit"}, "7s", 7}, Seconds{{"Fraction"}, "2.9", 2},
                                         Seconds{
                                             {"MoreThanAnyClockHas"}, "99999999999999999999", 1'000'000'000}),
                         testing::PrintToStringParamName());

struct Refusal : support::NamedCase {
  Words arguments;
  std::string why;
};

class CommandLineRefusals : public testing::TestWithParam<Refusal> {};

TEST_P(CommandLineRefusals, SayWhyAndShowTheUsage) {
  EXPECT_EQ(refusalOf(GetParam().arguments), "usb_rx_usbip: " + GetParam().why + "\n" + usbip::usage);
}

INSTANTIATE_TEST_SUITE_P(
    Each, CommandLineRefusals,
    testing::Values(
        Refusal{{"NothingAtAll"}, {}, "INTERFACE HOST PORT DEVICE are needed"},
        Refusal{{"ThreeOperands"}, {"eth1", "transmitter", "5000"}, "INTERFACE HOST PORT DEVICE are needed"},
        Refusal{{"UnknownOption"}, withOptions({"--intf=eth1"}), "there is no option --intf=eth1"},
        Refusal{{"FifthOperand"}, withOptions({"eth0"}), "there is no option eth0"},
        Refusal{{"OneKey"}, withOptions({"--keys", "in"}), "an option lacks its value"},
        Refusal{{"NoKeys"}, withOptions({"--keys"}), "an option lacks its value"},
        Refusal{{"EmptyFirstKey"}, withOptions({"--keys", "", "out"}), "a key is empty"},
        Refusal{{"EmptySecondKey"}, withOptions({"--keys", "in", ""}), "a key is empty"},
        Refusal{{"NoSeconds"}, withOptions({"--timeout"}), "an option lacks its value"},
        Refusal{{"PortTooHigh"}, {"", "host", "65536", "/sys"}, "PORT is a number from 0 to 65535"},
        Refusal{{"NegativePort"}, {"", "host", "-1", "/sys"}, "PORT is a number from 0 to 65535"},
        Refusal{{"EmptyPort"}, {"", "host", "", "/sys"}, "PORT is a number from 0 to 65535"},
        Refusal{{"NameOfAPort"}, {"", "host", "5000x", "/sys"}, "PORT is a number from 0 to 65535"}),
    testing::PrintToStringParamName());

TEST(CommandLineOfWorker, NeverShowsAKey) {
  EXPECT_EQ(refusalOf(withOptions({"--keys", "topsecret", ""})).find("topsecret"), std::string::npos);
}

TEST(CommandLineOfWorker, TakesTheFirstAndTheLastPort) {
  EXPECT_EQ(parseArguments({"", "host", "0", "/sys"}).transmitter.port, "0");
  EXPECT_EQ(parseArguments({"", "host", "65535", "/sys"}).transmitter.port, "65535");
}

}  // namespace
