// The commands of quor_config that only read.

#include <gtest/gtest.h>

#include <string>

#include "unit/tools/quor_config_run.h"

namespace {

const std::string content = "[usb]\nhid_only=1\ndebug=ctrl,scsi\n[apps]\nx=program\n";

TEST(QuorConfigGet, PrintsTheValue) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.get("usb:debug"), done("ctrl,scsi\n"));
  EXPECT_EQ(file.get("APPS:X"), done("program\n"));
}

TEST(QuorConfigGet, PrintsAnEmptyValue) {
  EXPECT_EQ(ConfiguredFile("[usb]\nx=\n").get("usb:x"), done("\n"));
}

TEST(QuorConfigGet, PrintsPercentSignsAsTheyAre) {
  EXPECT_EQ(ConfiguredFile("[usb]\na%s=%d%n\n").get("usb:a%s"), done("%d%n\n"));
}

TEST(QuorConfigGet, PrintsNothingWhereNoKeyIs) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.get("usb:smartcard"), notFoundOrDifferent());
  EXPECT_EQ(file.get("debug"), notFoundOrDifferent());
  EXPECT_EQ(file.get(""), notFoundOrDifferent());
}

TEST(QuorConfigGet, FindsNoValueOfASection) {
  EXPECT_EQ(ConfiguredFile(content).get("usb"), notFoundOrDifferent());
}

TEST(QuorConfigDiff, PrintsNothingForEqualSettings) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"diff", file.path()}), done());
  const ConfiguredFile turned("[apps]\nx=program\n[more]\n[usb]\ndebug=ctrl,scsi\nhid_only=1\n");
  EXPECT_EQ(file.run({"diff", turned.path()}), done());
}

TEST(QuorConfigDiff, PrintsWhatIsDifferentInTheOther) {
  const ConfiguredFile file(content);
  const ConfiguredFile other("[usb]\nhid_only=0\nsmartcard=1\n[apps]\nx=program\n");
  EXPECT_EQ(file.run({"diff", other.path()}), notFoundOrDifferent("c usb:hid_only [1:0]\n"
                                                                  "- usb:debug [ctrl,scsi:]\n"
                                                                  "+ usb:smartcard [:1]\n"));
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
}

TEST(QuorConfigJson, PrintsTheSectionsAndTheirSettings) {
  EXPECT_EQ(ConfiguredFile(content).run({"json"}), done("{\n"
                                                        "\t\"usb\": {\n"
                                                        "\t\t\"hid_only\":\"1\",\n"
                                                        "\t\t\"debug\":\"ctrl,scsi\"\n"
                                                        "\t},\n"
                                                        "\t\"apps\": {\n"
                                                        "\t\t\"x\":\"program\"\n"
                                                        "\t}\n"
                                                        "}\n"));
}

TEST(QuorConfigSed, PrintsACommandForEachSetting) {
  EXPECT_EQ(ConfiguredFile(content).run({"sed"}), done("s!\\$usb:hid_only\\$!1!g\n"
                                                       "s!\\$usb:debug\\$!ctrl,scsi!g\n"
                                                       "s!\\$apps:x\\$!program!g\n"
                                                       "\n"));
}

TEST(QuorConfig, ChangesNothingByReading) {
  const ConfiguredFile file(content);
  for (const Arguments& arguments :
       {Arguments{"get", "usb:debug"}, {"diff", file.path()}, {"print"}, {"json"}, {"sed"}, {"check"}}) {
    static_cast<void>(file.run(arguments));
    EXPECT_EQ(file.content(), content) << arguments[0];
  }
}

}  // namespace
