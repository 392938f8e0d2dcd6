#include "ctrl/command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ctrl/device_classes.h"
#include "ctrl/link.h"
#include "ctrl/settings.h"
#include "sim/contract.h"
#include "support/named_case.h"
#include "support/restored_settings.h"

namespace {

using contract::error::invalidItem;
using contract::error::usage;
using testing::Eq;
using testing::ExitedWithCode;
using Names = std::vector<std::string>;

// The debug settings that are on.
Names debugSettings() {
  Names on;
  for (const DebugWord& word : debugWords) {
    if (word.setting != nullptr && settings.*word.setting) {
      on.emplace_back(word.word);
    }
  }
  return on;
}

class CommandLine : public testing::Test {
 protected:
  /** The options of these arguments and the three that every command line ends with. */
  Options parse(Names arguments, const Names& last = {"host", "5000", "full"}) {
    texts_ = std::move(arguments);
    texts_.insert(texts_.begin(), "usb_rx_ctrl");
    texts_.insert(texts_.end(), last.begin(), last.end());
    pointers_.clear();
    for (std::string& text : texts_) {
      pointers_.push_back(text.data());
    }
    return parseOptions(static_cast<int>(pointers_.size()), pointers_.data());
  }

 private:
  support::RestoredSettings settings_;
  Names texts_;  // which options may point into
  std::vector<char*> pointers_;
};

using CommandLineClasses = CommandLine;
using CommandLineDebugging = CommandLine;

TEST_F(CommandLineClasses, AreBitsThatAddUpAndThatNoneTakesBack) {
  struct List {
    const char* text;
    std::uint32_t classes;
  };
  for (const List& list :
       {List{"none", 0}, List{"keyboard", 1}, List{"scsi", 2}, List{"all", 255}, List{"keyboard,scsi", 3},
        List{"scsi,keyboard", 3}, List{"scsi,scsi", 2}, List{"all,keyboard", 255}, List{"keyboard,none", 0},
        List{"scsi,none", 0}, List{"all,none", 0}, List{"keyboard,none,scsi", 2}, List{"none,all", 255},
        List{"", 0}, List{"keyboard,", 1}}) {
    EXPECT_EQ(parseClassList(list.text), list.classes) << list.text;
  }
}

TEST_F(CommandLineClasses, OfAnyOtherWordArePrintedAndEndTheProgram) {
  for (const char* item :
       {"Keyboard", "keyboards", "key", "ctrl", "generic", " keyboard", "keyboard ", "3"}) {
    EXPECT_EXIT(parseClassList(item), ExitedWithCode(1), Eq(invalidItem(item)));
  }
  for (const char* list : {",", ",keyboard", "keyboard,,scsi", "all,,"}) {
    EXPECT_EXIT(parseClassList(list), ExitedWithCode(1), Eq(invalidItem("")));
  }
  settings.logToSyslog = true;
  EXPECT_EXIT(parseClassList("scsi,disk,tape"), ExitedWithCode(1), Eq(invalidItem("disk")))
      << "the first bad item, on standard error";
}

TEST_F(CommandLineDebugging, AddsUpOverSeveralLists) {
  for (const char* word : {"ctrl", "generic", "keyboard", "scsi"}) {
    settings = Settings();
    parseDebugList(word);
    EXPECT_EQ(debugSettings(), Names{word});
  }
  settings = Settings();
  for (const char* nothing : {"none", "", "none,"}) {
    parseDebugList(nothing);
    EXPECT_EQ(debugSettings(), Names{});
  }
  parseDebugList("scsi,ctrl,");
  parseDebugList("generic,none");
  EXPECT_EQ(debugSettings(), (Names{"ctrl", "generic", "scsi"}));
}

TEST_F(CommandLineDebugging, OfAnyOtherWordIsPrintedAndEndsTheProgram) {
  for (const char* item : {"all", "Ctrl", "ctrls", " ctrl", "ctrl ", "1"}) {
    EXPECT_EXIT(parseDebugList(item), ExitedWithCode(1), Eq(invalidItem(item)));
  }
  for (const char* list : {",", ",ctrl", "ctrl,,scsi"}) {
    EXPECT_EXIT(parseDebugList(list), ExitedWithCode(1), Eq(invalidItem("")));
  }
}

TEST_F(CommandLine, WithoutOptionsHasTheDefaults) {
  const Options options = parse({});
  EXPECT_EQ(options.socketPath, defaultSocketPath);
  EXPECT_EQ(options.interface, "eth1");
  EXPECT_EQ(options.classes, noClasses);
  EXPECT_EQ(options.inkey, nullptr);
  EXPECT_EQ(options.outkey, nullptr);
  EXPECT_FALSE(options.debugGiven || options.classGiven || options.logGiven);
  EXPECT_FALSE(settings.logToSyslog);
  EXPECT_EQ(debugSettings(), Names{});
}

TEST_F(CommandLine, NeverTakesTheLastThreeArguments) {
  const Options options = parse({}, {"--syslog", "--sock=/s", "--nonsense"});
  EXPECT_FALSE(settings.logToSyslog);
  EXPECT_EQ(options.socketPath, defaultSocketPath);
}

TEST_F(CommandLine, TakesAllOptionsTogether) {
  const Options options = parse({"--class=scsi", "--debug=ctrl", "--syslog", "--keys", "in", "out",
                                 "--sock=/s", "--intf=connection", "--stderr"});
  EXPECT_EQ(options.classes, 2U);
  EXPECT_EQ(debugSettings(), Names{"ctrl"});
  EXPECT_STREQ(options.inkey, "in");
  EXPECT_STREQ(options.outkey, "out");
  EXPECT_EQ(options.socketPath, "/s");
  EXPECT_EQ(options.interface, "connection");
  EXPECT_TRUE(options.debugGiven && options.classGiven && options.logGiven);
}

TEST_F(CommandLine, TakesAnEmptyListForGiven) {
  const Options options = parse({"--class=", "--debug="});
  EXPECT_TRUE(options.classGiven && options.debugGiven);
  EXPECT_EQ(options.classes, noClasses);
  EXPECT_EQ(debugSettings(), Names{});
}

TEST_F(CommandLine, ReplacesAnEarlierOptionByALaterOneExceptForDebugging) {
  const Options options =
      parse({"--class=all", "--sock=/a", "--intf=eth0", "--debug=ctrl", "--keys", "a", "b", "--class=scsi",
             "--sock=/b", "--intf=eth2", "--debug=none", "--debug=scsi", "--keys", "c", "d"});
  EXPECT_EQ(options.classes, 2U);
  EXPECT_EQ(options.socketPath, "/b");
  EXPECT_EQ(options.interface, "eth2");
  EXPECT_STREQ(options.inkey, "c");
  EXPECT_STREQ(options.outkey, "d");
  EXPECT_EQ(debugSettings(), (Names{"ctrl", "scsi"}));
}

TEST_F(CommandLine, SendsMessagesToTheLaterDestination) {
  EXPECT_TRUE(parse({"--syslog"}).logGiven);
  EXPECT_TRUE(settings.logToSyslog);
  EXPECT_TRUE(parse({"--syslog", "--stderr"}).logGiven);
  EXPECT_FALSE(settings.logToSyslog);
  EXPECT_TRUE(parse({"--stderr", "--syslog"}).logGiven);
  EXPECT_TRUE(settings.logToSyslog);
  EXPECT_TRUE(parse({"--stderr"}).logGiven);
}

TEST_F(CommandLine, TakesTextsWholeAndEmptyOnesToo) {
  const Options odd = parse({"--sock=/a=b --x", "--intf=="});
  EXPECT_EQ(odd.socketPath, "/a=b --x");
  EXPECT_EQ(odd.interface, "=");
  const Options empty = parse({"--sock=", "--intf="});
  EXPECT_EQ(empty.socketPath, "");
  EXPECT_EQ(empty.interface, "");
}

struct KeysCase : support::NamedCase {
  Names arguments;
  const char* inkey;
  const char* outkey;
  const char* interface = "eth1";
};

class CommandLineKeys : public CommandLine, public testing::WithParamInterface<KeysCase> {};

INSTANTIATE_TEST_SUITE_P(From, CommandLineKeys,
                         testing::Values(KeysCase{{"WhatLooksLikeOptions"},
                                                  {"--keys", "--syslog", "--nonsense", "--intf=eth2"},
                                                  "--syslog",
                                                  "--nonsense",
                                                  "eth2"},
                                         KeysCase{{"TheLastThreeArguments"}, {"--keys"}, "host", "5000"},
                                         KeysCase{{"OneOfTheLastThree"}, {"--keys", "in"}, "in", "host"}));

TEST_P(CommandLineKeys, AreTheTwoArgumentsThatFollow) {
  const Options options = parse(GetParam().arguments);
  EXPECT_STREQ(options.inkey, GetParam().inkey);
  EXPECT_STREQ(options.outkey, GetParam().outkey);
  EXPECT_FALSE(settings.logToSyslog);
  EXPECT_EQ(options.interface, GetParam().interface);
}

TEST_F(CommandLine, OfAnyOtherArgumentPrintsTheUsage) {
  EXPECT_EXIT(printUsage(), ExitedWithCode(1), Eq(usage));
  for (const char* argument : {"--help", "-h", "", "name", "--class", "--debug", "--sock", "--intf",
                               "--syslogs", "--stderr=", "--keys=a", "--Syslog", "-syslog", " --syslog"}) {
    EXPECT_EXIT((void)parse({argument}), ExitedWithCode(1), Eq(usage)) << "'" << argument << "'";
  }
}

TEST_F(CommandLine, OfABadListIsRefused) {
  EXPECT_EXIT((void)parse({"--class=disk"}), ExitedWithCode(1), Eq(invalidItem("disk")));
  EXPECT_EXIT((void)parse({"--debug=ctrl,,scsi"}), ExitedWithCode(1), Eq(invalidItem("")));
}

}  // namespace
