#include "examples/usbip/transmitter/command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Words = std::vector<std::string>;
using usbip::Action;

bool isWrong(const Words& words) {
  return !usbip::parseArguments(words).has_value();
}

TEST(CommandLineOfFarSide, NeedsThePortAlone) {
  const auto arguments = usbip::parseArguments({"5000"});
  ASSERT_TRUE(arguments);
  EXPECT_EQ(arguments->action, Action::serve);
  EXPECT_EQ(arguments->port, 5000);
  EXPECT_EQ(arguments->keyFile, "");
  EXPECT_FALSE(arguments->debugging);
  EXPECT_FALSE(arguments->toSyslog);
  EXPECT_FALSE(arguments->anyPeer);
}

TEST(CommandLineOfFarSide, TakesEachOptionBeforeAndBehindThePort) {
  for (const Words& words : {Words{"--debug", "--syslog", "--keys=/etc/keys", "--allow-any-peer", "65535"},
                             Words{"65535", "--allow-any-peer", "--keys=/etc/keys", "--syslog", "--debug"}}) {
    const auto arguments = usbip::parseArguments(words);
    ASSERT_TRUE(arguments);
    EXPECT_EQ(arguments->port, 65535);
    EXPECT_EQ(arguments->keyFile, "/etc/keys");
    EXPECT_TRUE(arguments->debugging);
    EXPECT_TRUE(arguments->toSyslog);
    EXPECT_TRUE(arguments->anyPeer);
  }
}

TEST(CommandLineOfFarSide, SetsNothingButWhatAnOptionIsFor) {
  EXPECT_TRUE(usbip::parseArguments({"--debug", "1"})->debugging);
  EXPECT_FALSE(usbip::parseArguments({"--debug", "1"})->anyPeer);
  EXPECT_TRUE(usbip::parseArguments({"--syslog", "1"})->toSyslog);
  EXPECT_FALSE(usbip::parseArguments({"--syslog", "1"})->debugging);
  EXPECT_TRUE(usbip::parseArguments({"--allow-any-peer", "1"})->anyPeer);
  EXPECT_FALSE(usbip::parseArguments({"--allow-any-peer", "1"})->toSyslog);
}

TEST(CommandLineOfFarSide, ListsAndHelpsWhenAskedForThatAlone) {
  EXPECT_EQ(usbip::parseArguments({"--list"})->action, Action::list);
  EXPECT_EQ(usbip::parseArguments({"--help"})->action, Action::help);
  EXPECT_TRUE(isWrong({"--list", "5000"}));
  EXPECT_TRUE(isWrong({"5000", "--list"}));
  EXPECT_TRUE(isWrong({"--help", "--debug"}));
}

TEST(CommandLineOfFarSide, RefusesWhatIsNoPort) {
  for (const char* word :
       {"", "0", "65536", "99999999999", "-1", "+1", "5000x", "x", " 5000", "5000 ", "0x10", "1.5"}) {
    EXPECT_TRUE(isWrong({word})) << word;
  }
}

TEST(CommandLineOfFarSide, RefusesNoPortAndTwoPorts) {
  EXPECT_TRUE(isWrong({}));
  EXPECT_TRUE(isWrong({"--debug"}));
  EXPECT_TRUE(isWrong({"5000", "5001"}));
}

TEST(CommandLineOfFarSide, RefusesUnknownOptionsAndAnEmptyFileName) {
  for (const char* option : {"--keys", "--keys=", "--key=/etc/keys", "--debug=1", "--stderr", "-d", "--"}) {
    EXPECT_TRUE(isWrong({option, "5000"})) << option;
  }
}

TEST(CommandLineOfFarSide, NamesEachOptionInTheUsageAndTheHelp) {
  const std::string usage = usbip::usage;
  const std::string help = usbip::help;
  for (const char* option : {"--debug", "--syslog", "--keys=FILE", "--allow-any-peer", "--list"}) {
    EXPECT_NE(usage.find(option), std::string::npos) << option;
    EXPECT_NE(help.find(option), std::string::npos) << option;
  }
}

}  // namespace
