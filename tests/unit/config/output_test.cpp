#include "config/output.h"

#include <gtest/gtest.h>

#include <string>

#include "config/edit.h"
#include "support/standard_output.h"
#include "unit/config/config_file.h"

namespace {

const std::string content = "[usb]\nhid_only=1\nsmartcard=0\n";

// What `print` prints; its result must be 0.
template <class Print>
std::string printed(Print print) {
  const support::CapturedStandardOutput output;
  EXPECT_EQ(print(), 0);
  return output.text();
}

std::string json(const Config& config) {
  return printed([&] { return configPrintJson(config.get()); });
}

std::string json(const std::string& text) {
  return json(configOf(text));
}

std::string sed(const Config& config) {
  return printed([&] { return configPrintSed(config.get()); });
}

std::string difference(const std::string& older, const std::string& newer) {
  return printed([&] { return configDiff(configOf(older).get(), configOf(newer).get()); });
}

TEST(OutputIni, IsWhatIniparserWritesAndReadsAsTheSame) {
  const Config config = configOf("[usb]\nhid_only=1\ndebug=a b, c\n[empty]\n[apps]\nx=\n");
  const std::string ini = printed([&] { return configPrint(config.get()); });
  EXPECT_EQ(ini, printed([&] {
              iniparser_dump_ini(config.get(), stdout);
              return 0;
            }));
  EXPECT_NE(ini.find("[usb]\n"), std::string::npos);
  EXPECT_EQ(entriesOf(configOf(ini)), entriesOf(config));
}

TEST(OutputDiff, HasALineForEachSettingThatIsMissingChangedOrNew) {
  EXPECT_EQ(difference(content, content), "");
  EXPECT_EQ(difference("", ""), "");
  EXPECT_EQ(difference("[usb]\nhid_only=0\n", "[usb]\nhid_only=1\n"), "c usb:hid_only [0:1]\n");
  EXPECT_EQ(difference(content, ""), "- usb:hid_only [1:]\n- usb:smartcard [0:]\n");
  EXPECT_EQ(difference("", content), "+ usb:hid_only [:1]\n+ usb:smartcard [:0]\n");
}

TEST(OutputDiff, FollowsTheOlderOrderAndEndsWithWhatIsNew) {
  EXPECT_EQ(difference("[z]\na=1\nb=2\nc=3\n[a]\nd=4\n", "[n]\ny=8\n[a]\nd=5\n[z]\nx=9\nc=7\nb=2\n"),
            "- z:a [1:]\n"
            "c z:c [3:7]\n"
            "c a:d [4:5]\n"
            "+ n:y [:8]\n"
            "+ z:x [:9]\n");
}

TEST(OutputDiff, ComparesAndPrintsValuesAsTheyAre) {
  EXPECT_EQ(difference("[usb]\nx=Yes\ny=1\n", "[usb]\nx=yes\ny=01\n"), "c usb:x [Yes:yes]\nc usb:y [1:01]\n");
  EXPECT_EQ(difference("[usb]\nx=%s%n\ny=\n", "[usb]\nx=[a:b]\ny=1\n"),
            "c usb:x [%s%n:[a:b]]\nc usb:y [:1]\n");
}

TEST(OutputDiff, PassesOverSectionsAlsoInTheirSettingsPlace) {
  EXPECT_EQ(difference("[a]\n[b]\n", "[c]\n"), "");
  EXPECT_EQ(difference("[usb]\nx=1\n", "[usb]\n[usb:x]\n"), "- usb:x [1:]\n");
  EXPECT_EQ(difference("[usb]\n[usb:x]\n", "[usb]\nx=1\n"), "+ usb:x [:1]\n");
}

TEST(OutputJson, IsAnObjectOfSections) {
  EXPECT_EQ(json("[usb]\na=1\n[apps]\nb=2\nc=3\n"),
            "{\n"
            "\t\"usb\": {\n"
            "\t\t\"a\":\"1\"\n"
            "\t},\n"
            "\t\"apps\": {\n"
            "\t\t\"b\":\"2\",\n"
            "\t\t\"c\":\"3\"\n"
            "\t}\n"
            "}\n");
  EXPECT_EQ(json("[a]\n[b]\n"), "{\n\t\"a\": {\n\n\t},\n\t\"b\": {\n\n\t}\n}\n");
  EXPECT_EQ(json(""), "{\n\n\t}\n}\n");
}

TEST(OutputJson, EscapesNothing) {
  EXPECT_EQ(json("[a b]\nx y=say \"no\" \\ 100%d\n"),
            "{\n\t\"a b\": {\n\t\t\"x y\":\"say \"no\" \\ 100%d\"\n\t}\n}\n");
}

TEST(OutputJson, FollowsTheOrderOfInsertion) {
  const Config config = configOf("[usb]\na=1\n[apps]\nb=2\n");
  configSet(config.get(), "usb:c", "3");
  EXPECT_EQ(json(config),
            "{\n\t\"usb\": {\n\t\t\"a\":\"1\"\n\t},\n"
            "\t\"apps\": {\n\t\t\"b\":\"2\",\n\t\t\"c\":\"3\"\n\t}\n}\n");
}

TEST(OutputJson, EndsASectionAtTheFirstColonAndHasAnEmptyTextForNoValue) {
  const Config config = configOf("");
  configSet(config.get(), "a:none", nullptr);
  configSet(config.get(), "a:b:c", "1");
  EXPECT_EQ(json(config), "{\n\t\"a\": {\n\t\t\"none\":\"\",\n\t\t\"b:c\":\"1\"\n\t}\n}\n");
}

TEST(OutputSed, HasACommandForEachSettingAndALineEnd) {
  const Config config = configOf("[usb]\nx=a!b&c\\%d\n[apps]\nempty=\n");
  configSet(config.get(), "usb:none", nullptr);
  EXPECT_EQ(sed(config),
            "s!\\$usb:x\\$!a!b&c\\%d!g\n"
            "s!\\$apps:empty\\$!!g\n"
            "s!\\$usb:none\\$!!g\n"
            "\n");
  EXPECT_EQ(sed(configOf("[usb]\n[apps]\n")), "\n");
}

TEST(Output, RefusesNoDictionary) {
  const Config config = configOf(content);
  const support::CapturedStandardOutput output;
  EXPECT_EQ(configPrint(nullptr), -1);
  EXPECT_EQ(configDiff(config.get(), nullptr), -1);
  EXPECT_EQ(configDiff(nullptr, config.get()), -1);
  EXPECT_EQ(configDiff(nullptr, nullptr), -1);
  EXPECT_EQ(configPrintJson(nullptr), -1);
  EXPECT_EQ(configPrintSed(nullptr), -1);
  EXPECT_EQ(output.text(), "");
}

}  // namespace
