// The commands of quor_config that only read, and where their output goes.

#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "support/named_case.h"
#include "unit/tools/quor_config_run.h"

namespace {

using Output = sim::ProcessOptions::Output;

const std::string content = "[usb]\nhid_only=1\ndebug=ctrl,scsi\n[apps]\nx=program\n";

struct Reading : support::NamedCase {
  std::string file;
  Arguments command;
  Outcome outcome;
};

class QuorConfigOutputs : public testing::TestWithParam<Reading> {};

INSTANTIATE_TEST_SUITE_P(
    Of, QuorConfigOutputs,
    testing::Values(
        Reading{"GetAreTheValue", content, {"get", "usb:debug"}, done("ctrl,scsi\n")},
        Reading{"GetAreTheSameForAKeyInCapitals", content, {"get", "APPS:X"}, done("program\n")},
        Reading{"GetAreALineForAnEmptyValue", "[usb]\nx=\n", {"get", "usb:x"}, done("\n")},
        Reading{"GetHavePercentSignsAsTheyAre", "[usb]\na%s=%d%n\n", {"get", "usb:a%s"}, done("%d%n\n")},
        Reading{"GetAreNoneWithoutTheKey", content, {"get", "usb:smartcard"}, notFoundOrDifferent()},
        Reading{"GetAreNoneWithoutASection", content, {"get", "debug"}, notFoundOrDifferent()},
        Reading{"GetAreNoneForAnEmptyKey", content, {"get", ""}, notFoundOrDifferent()},
        Reading{"GetAreNoneForASection", content, {"get", "usb"}, notFoundOrDifferent()},
        Reading{"JsonAreTheSectionsAndTheirSettings",
                content,
                {"json"},
                done("{\n"
                     "\t\"usb\": {\n"
                     "\t\t\"hid_only\":\"1\",\n"
                     "\t\t\"debug\":\"ctrl,scsi\"\n"
                     "\t},\n"
                     "\t\"apps\": {\n"
                     "\t\t\"x\":\"program\"\n"
                     "\t}\n"
                     "}\n")},
        Reading{"JsonHaveSectionsWithoutSettings",
                "[usb]\nx=1\n[link]\n",
                {"json"},
                done("{\n\t\"usb\": {\n\t\t\"x\":\"1\"\n\t},\n\t\"link\": {\n\n\t}\n}\n")},
        Reading{"SedAreACommandForEachSetting",
                content,
                {"sed"},
                done("s!\\$usb:hid_only\\$!1!g\n"
                     "s!\\$usb:debug\\$!ctrl,scsi!g\n"
                     "s!\\$apps:x\\$!program!g\n"
                     "\n")},
        Reading{"CheckAreNothingForAGoodFile", "[usb]\nhid_only=1\n", {"check"}, done()}),
    testing::PrintToStringParamName());

TEST_P(QuorConfigOutputs, AndNothingIsChanged) {
  const ConfiguredFile file(GetParam().file);
  EXPECT_EQ(file.run(GetParam().command), GetParam().outcome);
  EXPECT_EQ(file.content(), GetParam().file);
}

TEST(QuorConfigOutputsOfDiff, AreNothingForEqualSettings) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"diff", file.path()}), done());
  const ConfiguredFile turned("[apps]\nx=program\n[more]\n[usb]\ndebug=ctrl,scsi\nhid_only=1\n");
  EXPECT_EQ(file.run({"diff", turned.path()}), done());
}

TEST(QuorConfigOutputsOfDiff, AreWhatIsDifferentInTheOtherAndNeitherIsChanged) {
  const std::string otherContent = "[usb]\nhid_only=0\nsmartcard=1\n[apps]\nx=program\n";
  const ConfiguredFile file(content);
  const ConfiguredFile other(otherContent);
  EXPECT_EQ(file.run({"diff", other.path()}), notFoundOrDifferent("c usb:hid_only [1:0]\n"
                                                                  "- usb:debug [ctrl,scsi:]\n"
                                                                  "+ usb:smartcard [:1]\n"));
  EXPECT_EQ(file.content(), content);
  EXPECT_EQ(other.content(), otherContent);
}

TEST(QuorConfigOutputsOfDiff, AreWhatOnlyOneHas) {
  const ConfiguredFile less("[usb]\na=1\n");
  const ConfiguredFile more("[usb]\na=1\nb=2\n");
  EXPECT_EQ(less.run({"diff", more.path()}), notFoundOrDifferent("+ usb:b [:2]\n"));
  EXPECT_EQ(more.run({"diff", less.path()}), notFoundOrDifferent("- usb:b [2:]\n"));
}

TEST(QuorConfigOutputsOfPrint, AreAnIniTextOfTheSameSettings) {
  const ConfiguredFile file(content);
  const Outcome printed = file.run({"print"});
  EXPECT_EQ(printed, done(printed.output));
  const ConfiguredFile copy(printed.output);
  EXPECT_EQ(file.run({"diff", copy.path()}), done());
  EXPECT_EQ(copy.get("usb:debug"), done("ctrl,scsi\n"));
  EXPECT_EQ(file.content(), content);
}

TEST(QuorConfigOutputsThatCannotBeWritten, AreReportedWhereTheDiskIsFull) {
  const ConfiguredFile file("[usb]\nx=1\nfrob=1\n");
  const ConfiguredFile other("[usb]\nx=2\n");
  for (const Arguments& arguments :
       {Arguments{"get", "usb:x"}, {"print"}, {"json"}, {"sed"}, {"check"}, {"diff", other.path()}}) {
    Arguments all{"--file", file.path()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(quorConfigInto("/dev/full", all), failed("No space left on device: standard output"))
        << arguments[0];
  }
  EXPECT_EQ(quorConfigInto("/dev/full", {"--help"}), failed("No space left on device: standard output"));
}

sim::ProcessOptions withOutput(Output output) {
  sim::ProcessOptions options;
  options.standardOutput = output;
  options.ignoredSignals = {SIGPIPE};
  return options;
}

TEST(QuorConfigOutputsThatCannotBeWritten, AreReportedWhereTheyAreClosedOrHaveNoReader) {
  const ConfiguredFile file("[usb]\nx=1\n");
  EXPECT_EQ(quorConfig({"--file", file.path(), "get", "usb:x"}, withOutput(Output::closed)),
            failed("Bad file descriptor: standard output"));
  EXPECT_EQ(quorConfig({"--file", file.path(), "json"}, withOutput(Output::brokenPipe)),
            failed("Broken pipe: standard output"));
}

TEST(QuorConfigOutputsThatCannotBeWritten, AreNoObstacleToAChange) {
  const ConfiguredFile file("[usb]\nx=1\n");
  EXPECT_EQ(quorConfig({"--file", file.path(), "set", "usb:x", "2"}, withOutput(Output::closed)), done());
  EXPECT_EQ(file.get("usb:x"), done("2\n"));
}

}  // namespace
