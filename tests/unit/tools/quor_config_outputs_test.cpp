// The commands of quor_config that only read.

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "unit/tools/quor_config_run.h"

namespace {

const std::string content = "[usb]\nhid_only=1\ndebug=ctrl,scsi\n[apps]\nx=program\n";

struct Reading {
  std::string name;
  std::string file;
  Arguments command;
  Outcome outcome;
};

std::ostream& operator<<(std::ostream& out, const Reading& reading) {
  return out << reading.name;
}

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
    [](const auto& instance) { return instance.param.name; });

TEST_P(QuorConfigOutputs, AndNothingIsChanged) {
  const ConfiguredFile file(GetParam().file);
  EXPECT_EQ(file.run(GetParam().command), GetParam().outcome);
  EXPECT_EQ(file.content(), GetParam().file);
}

TEST(QuorConfigDiff, PrintsNothingForEqualSettings) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"diff", file.path()}), done());
  const ConfiguredFile turned("[apps]\nx=program\n[more]\n[usb]\ndebug=ctrl,scsi\nhid_only=1\n");
  EXPECT_EQ(file.run({"diff", turned.path()}), done());
}

TEST(QuorConfigDiff, PrintsWhatIsDifferentInTheOtherAndChangesNeither) {
  const std::string otherContent = "[usb]\nhid_only=0\nsmartcard=1\n[apps]\nx=program\n";
  const ConfiguredFile file(content);
  const ConfiguredFile other(otherContent);
  EXPECT_EQ(file.run({"diff", other.path()}), notFoundOrDifferent("c usb:hid_only [1:0]\n"
                                                                  "- usb:debug [ctrl,scsi:]\n"
                                                                  "+ usb:smartcard [:1]\n"));
  EXPECT_EQ(file.content(), content);
  EXPECT_EQ(other.content(), otherContent);
}

TEST(QuorConfigDiff, DiffersByWhatOnlyOneHas) {
  const ConfiguredFile less("[usb]\na=1\n");
  const ConfiguredFile more("[usb]\na=1\nb=2\n");
  EXPECT_EQ(less.run({"diff", more.path()}), notFoundOrDifferent("+ usb:b [:2]\n"));
  EXPECT_EQ(more.run({"diff", less.path()}), notFoundOrDifferent("- usb:b [2:]\n"));
}

TEST(QuorConfigPrint, PrintsAnIniTextOfTheSameSettings) {
  const ConfiguredFile file(content);
  const Outcome printed = file.run({"print"});
  EXPECT_EQ(printed, done(printed.output));
  const ConfiguredFile copy(printed.output);
  EXPECT_EQ(file.run({"diff", copy.path()}), done());
  EXPECT_EQ(copy.get("usb:debug"), done("ctrl,scsi\n"));
  EXPECT_EQ(file.content(), content);
}

}  // namespace
