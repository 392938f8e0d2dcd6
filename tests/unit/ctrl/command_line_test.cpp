#include "ctrl/command_line.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "ctrl/settings.h"
#include "support/restored_settings.h"

namespace {

using testing::Eq;
using testing::ExitedWithCode;

constexpr const char* usage =
    "Usage: usb_rx_ctrl [--class={none,keyboard,scsi,all}] [--debug={ctrl,generic,keyboard,scsi}]"
    " [--syslog|--stderr] [--keys <inkey> <outkey>]  [--sock=<socketpath>] [--intf=<networkconn>]"
    " <hostname> <port> <speed>\n";

std::string refusalOf(const std::string& item) {
  return "Invalid debug option '" + item + "'\n";
}

// The switches that are on.
std::vector<std::string> debugSwitches() {
  std::vector<std::string> on;
  if (settings.debugCtrl) {
    on.emplace_back("ctrl");
  }
  if (settings.debugGeneric) {
    on.emplace_back("generic");
  }
  if (settings.debugKeyboard) {
    on.emplace_back("keyboard");
  }
  if (settings.debugScsi) {
    on.emplace_back("scsi");
  }
  return on;
}

using Names = std::vector<std::string>;

// Owns the arguments, which Options may point into.
class CommandLine {
 public:
  CommandLine(std::initializer_list<const char*> arguments) : texts_(arguments.begin(), arguments.end()) {
    texts_.insert(texts_.begin(), "usb_rx_ctrl");
    for (std::string& text : texts_) {
      pointers_.push_back(text.data());
    }
  }

  [[nodiscard]] Options parse() const {
    return parseOptions(static_cast<int>(pointers_.size()), pointers_.data());
  }

 private:
  std::vector<std::string> texts_;
  std::vector<char*> pointers_;
};

class ClassList : public testing::Test {
 private:
  support::RestoredSettings settings_;
};

class DebugList : public ClassList {};
class CommandLineOptions : public ClassList {};

TEST_F(ClassList, EachWordHasItsBits) {
  EXPECT_EQ(parseClassList("none"), 0U);
  EXPECT_EQ(parseClassList("keyboard"), 1U);
  EXPECT_EQ(parseClassList("scsi"), 2U);
  EXPECT_EQ(parseClassList("all"), 255U);
}

TEST_F(ClassList, WordsAddUpInAnyOrder) {
  EXPECT_EQ(parseClassList("keyboard,scsi"), 3U);
  EXPECT_EQ(parseClassList("scsi,keyboard"), 3U);
  EXPECT_EQ(parseClassList("scsi,scsi"), 2U);
  EXPECT_EQ(parseClassList("all,keyboard"), 255U);
}

TEST_F(ClassList, NoneTakesBackWhatCameBeforeIt) {
  EXPECT_EQ(parseClassList("keyboard,none"), 0U);
  EXPECT_EQ(parseClassList("scsi,none"), 0U);
  EXPECT_EQ(parseClassList("all,none"), 0U);
  EXPECT_EQ(parseClassList("keyboard,none,scsi"), 2U);
  EXPECT_EQ(parseClassList("none,all"), 255U);
}

TEST_F(ClassList, AnEmptyListHasNoClasses) {
  EXPECT_EQ(parseClassList(""), 0U);
}

TEST_F(ClassList, ACommaAtTheEndAddsNoItem) {
  EXPECT_EQ(parseClassList("keyboard,"), 1U);
}

TEST_F(ClassList, AnyOtherItemIsToldAndEndsTheProgram) {
  for (const char* item :
       {"Keyboard", "keyboards", "key", "ctrl", "generic", " keyboard", "keyboard ", "3"}) {
    EXPECT_EXIT(parseClassList(item), ExitedWithCode(1), Eq(refusalOf(item)));
  }
}

TEST_F(ClassList, AnEmptyItemIsRefusedByItsEmptyName) {
  for (const char* list : {",", ",keyboard", "keyboard,,scsi", "all,,"}) {
    EXPECT_EXIT(parseClassList(list), ExitedWithCode(1), Eq(refusalOf("")));
  }
}

TEST_F(ClassList, TheFirstBadItemIsTheOneThatIsTold) {
  EXPECT_EXIT(parseClassList("scsi,disk,tape"), ExitedWithCode(1), Eq(refusalOf("disk")));
}

TEST_F(ClassList, ABadItemIsToldOnStandardErrorAlsoWhenMessagesGoToSyslog) {
  settings.logToSyslog = true;
  EXPECT_EXIT(parseClassList("disk"), ExitedWithCode(1), Eq(refusalOf("disk")));
}

TEST_F(DebugList, EachWordSetsItsSwitch) {
  for (const char* word : {"ctrl", "generic", "keyboard", "scsi"}) {
    settings = Settings();
    parseDebugList(word);
    EXPECT_EQ(debugSwitches(), Names{word});
  }
}

TEST_F(DebugList, WordsAddUpOverSeveralLists) {
  parseDebugList("scsi,ctrl");
  parseDebugList("generic");
  EXPECT_EQ(debugSwitches(), (Names{"ctrl", "generic", "scsi"}));
}

TEST_F(DebugList, NoneChangesNothing) {
  parseDebugList("none");
  EXPECT_EQ(debugSwitches(), Names{});
  parseDebugList("keyboard,none");
  EXPECT_EQ(debugSwitches(), Names{"keyboard"});
}

TEST_F(DebugList, AnEmptyListAndACommaAtTheEndAddNothing) {
  parseDebugList("");
  EXPECT_EQ(debugSwitches(), Names{});
  parseDebugList("ctrl,");
  EXPECT_EQ(debugSwitches(), Names{"ctrl"});
}

TEST_F(DebugList, AnyOtherItemIsToldAndEndsTheProgram) {
  for (const char* item : {"all", "Ctrl", "ctrls", " ctrl", "ctrl ", "1"}) {
    EXPECT_EXIT(parseDebugList(item), ExitedWithCode(1), Eq(refusalOf(item)));
  }
}

TEST_F(DebugList, AnEmptyItemIsRefusedByItsEmptyName) {
  for (const char* list : {",", ",ctrl", "ctrl,,scsi"}) {
    EXPECT_EXIT(parseDebugList(list), ExitedWithCode(1), Eq(refusalOf("")));
  }
}

TEST(Usage, IsWrittenToStandardErrorAndEndsTheProgram) {
  EXPECT_EXIT(printUsage(), ExitedWithCode(1), Eq(usage));
}

TEST_F(CommandLineOptions, WithoutAnyTheDefaultsHold) {
  const Options options = CommandLine{"host", "5000", "full"}.parse();
  EXPECT_EQ(options.socketPath, "/var/run/usb_rx");
  EXPECT_EQ(options.interface, "eth1");
  EXPECT_EQ(options.classes, 0U);
  EXPECT_EQ(options.inkey, nullptr);
  EXPECT_EQ(options.outkey, nullptr);
  EXPECT_FALSE(options.debugGiven || options.classGiven || options.logGiven);
  EXPECT_FALSE(settings.logToSyslog);
  EXPECT_EQ(debugSwitches(), Names{});
}

TEST_F(CommandLineOptions, TheLastThreeArgumentsAreNeverTaken) {
  const Options options = CommandLine{"--syslog", "--sock=/s", "--nonsense"}.parse();
  EXPECT_FALSE(settings.logToSyslog);
  EXPECT_EQ(options.socketPath, "/var/run/usb_rx");
}

TEST_F(CommandLineOptions, AllOfThemAreTakenTogether) {
  const CommandLine line{"--class=scsi", "--debug=ctrl",      "--syslog", "--keys", "in",   "out",
                         "--sock=/s",    "--intf=connection", "--stderr", "host",   "5000", "full"};
  const Options options = line.parse();
  EXPECT_EQ(options.classes, 2U);
  EXPECT_EQ(debugSwitches(), Names{"ctrl"});
  EXPECT_STREQ(options.inkey, "in");
  EXPECT_STREQ(options.outkey, "out");
  EXPECT_EQ(options.socketPath, "/s");
  EXPECT_EQ(options.interface, "connection");
  EXPECT_TRUE(options.debugGiven && options.classGiven && options.logGiven);
}

TEST_F(CommandLineOptions, AnEmptyListCountsAsGiven) {
  const Options options = CommandLine{"--class=", "--debug=", "host", "5000", "full"}.parse();
  EXPECT_TRUE(options.classGiven);
  EXPECT_TRUE(options.debugGiven);
  EXPECT_EQ(options.classes, 0U);
  EXPECT_EQ(debugSwitches(), Names{});
}

TEST_F(CommandLineOptions, ALaterClassListReplacesTheMask) {
  EXPECT_EQ((CommandLine{"--class=all", "--class=scsi", "host", "5000", "full"}.parse().classes), 2U);
}

TEST_F(CommandLineOptions, DebugListsAccumulate) {
  (void)CommandLine{"--debug=ctrl", "--debug=none", "--debug=scsi", "host", "5000", "full"}.parse();
  EXPECT_EQ(debugSwitches(), (Names{"ctrl", "scsi"}));
}

TEST_F(CommandLineOptions, TheLaterDestinationOfMessagesHolds) {
  EXPECT_TRUE((CommandLine{"--stderr", "--syslog", "host", "5000", "full"}.parse().logGiven));
  EXPECT_TRUE(settings.logToSyslog);
  EXPECT_TRUE((CommandLine{"--syslog", "--stderr", "host", "5000", "full"}.parse().logGiven));
  EXPECT_FALSE(settings.logToSyslog);
}

TEST_F(CommandLineOptions, EitherDestinationCountsAsGiven) {
  EXPECT_TRUE((CommandLine{"--stderr", "host", "5000", "full"}.parse().logGiven));
  EXPECT_TRUE((CommandLine{"--syslog", "host", "5000", "full"}.parse().logGiven));
}

TEST_F(CommandLineOptions, LaterTextsReplaceEarlierOnes) {
  const Options options =
      CommandLine{"--sock=/a", "--intf=eth0", "--sock=/b", "--intf=eth2", "host", "5000", "full"}.parse();
  EXPECT_EQ(options.socketPath, "/b");
  EXPECT_EQ(options.interface, "eth2");
}

TEST_F(CommandLineOptions, TextsMayBeEmpty) {
  const Options options = CommandLine{"--sock=", "--intf=", "host", "5000", "full"}.parse();
  EXPECT_EQ(options.socketPath, "");
  EXPECT_EQ(options.interface, "");
}

TEST_F(CommandLineOptions, TextsAreTakenWhole) {
  const Options options = CommandLine{"--sock=/a=b --x", "--intf==", "host", "5000", "full"}.parse();
  EXPECT_EQ(options.socketPath, "/a=b --x");
  EXPECT_EQ(options.interface, "=");
}

TEST_F(CommandLineOptions, KeysAreTheTwoArgumentsThatFollowWhateverTheyLookLike) {
  const CommandLine line{"--keys", "--syslog", "--nonsense", "--intf=eth2", "host", "5000", "full"};
  const Options options = line.parse();
  EXPECT_STREQ(options.inkey, "--syslog");
  EXPECT_STREQ(options.outkey, "--nonsense");
  EXPECT_FALSE(settings.logToSyslog);
  EXPECT_EQ(options.interface, "eth2");
}

TEST_F(CommandLineOptions, KeysMayBeTakenFromTheLastThreeArguments) {
  const CommandLine bothThere{"--keys", "host", "5000", "full"};
  EXPECT_STREQ(bothThere.parse().inkey, "host");
  EXPECT_STREQ(bothThere.parse().outkey, "5000");
  const CommandLine oneThere{"--keys", "in", "host", "5000", "full"};
  EXPECT_STREQ(oneThere.parse().inkey, "in");
  EXPECT_STREQ(oneThere.parse().outkey, "host");
}

TEST_F(CommandLineOptions, LaterKeysReplaceEarlierOnes) {
  const CommandLine line{"--keys", "a", "b", "--keys", "c", "d", "host", "5000", "full"};
  EXPECT_STREQ(line.parse().inkey, "c");
  EXPECT_STREQ(line.parse().outkey, "d");
}

TEST_F(CommandLineOptions, AnyOtherArgumentPrintsTheUsage) {
  for (const char* argument : {"--help", "-h", "", "name", "--class", "--debug", "--sock", "--intf",
                               "--syslogs", "--stderr=", "--keys=a", "--Syslog", "-syslog", " --syslog"}) {
    EXPECT_EXIT((void)(CommandLine{argument, "host", "5000", "full"}.parse()), ExitedWithCode(1), Eq(usage))
        << "'" << argument << "'";
  }
}

TEST_F(CommandLineOptions, ABadListIsRefused) {
  EXPECT_EXIT((void)(CommandLine{"--class=disk", "host", "5000", "full"}.parse()), ExitedWithCode(1),
              Eq(refusalOf("disk")));
  EXPECT_EXIT((void)(CommandLine{"--debug=ctrl,,scsi", "host", "5000", "full"}.parse()), ExitedWithCode(1),
              Eq(refusalOf("")));
}

}  // namespace
