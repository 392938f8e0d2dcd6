#include "config/output.h"

#include <gtest/gtest.h>

#include <string>

#include "config/edit.h"
#include "unit/config/captured_output.h"
#include "unit/config/loaded_config.h"

namespace {

// What `print` prints; its result must be 0.
template <class Print>
std::string printed(Print print) {
  const CapturedOutput output(stdout);
  EXPECT_EQ(print(), 0);
  return output.text();
}

std::string ini(const Config& config) {
  return printed([&] { return configPrint(config.get()); });
}

std::string json(const std::string& content) {
  const Config config = configOf(content);
  return printed([&] { return configPrintJson(config.get()); });
}

std::string sed(const Config& config) {
  return printed([&] { return configPrintSed(config.get()); });
}

std::string difference(const Config& older, const Config& newer) {
  return printed([&] { return configDiff(older.get(), newer.get()); });
}

std::string difference(const std::string& older, const std::string& newer) {
  return difference(configOf(older), configOf(newer));
}

const std::string content = "[usb]\nhid_only=1\nsmartcard=0\n";

TEST(ConfigPrint, PrintsAnIniTextThatReadsAsTheSame) {
  const Config config = configOf("[usb]\nhid_only=1\ndebug=a b, c\n[empty]\n[apps]\nx=\n");
  EXPECT_EQ(entriesOf(configOf(ini(config))), entriesOf(config));
}

TEST(ConfigPrint, PrintsWhatIniparserWrites) {
  const Config config = configOf(content);
  const CapturedOutput output(stdout);
  iniparser_dump_ini(config.get(), stdout);
  const std::string expected = output.text();
  EXPECT_NE(expected.find("[usb]\n"), std::string::npos);
  EXPECT_EQ(ini(config), expected);
}

TEST(ConfigPrint, RefusesNoDictionary) {
  const CapturedOutput output(stdout);
  EXPECT_EQ(configPrint(nullptr), -1);
  EXPECT_EQ(output.text(), "");
}

TEST(ConfigDiff, PrintsNothingWhereAllIsEqual) {
  EXPECT_EQ(difference(content, content), "");
  EXPECT_EQ(difference("", ""), "");
}

TEST(ConfigDiff, PrintsTheOldValueAndTheNewOne) {
  EXPECT_EQ(difference("[usb]\nhid_only=0\n", "[usb]\nhid_only=1\n"), "c usb:hid_only [0:1]\n");
}

TEST(ConfigDiff, PrintsWhatIsMissing) {
  EXPECT_EQ(difference(content, "[usb]\nsmartcard=0\n"), "- usb:hid_only [1:]\n");
  EXPECT_EQ(difference(content, ""), "- usb:hid_only [1:]\n- usb:smartcard [0:]\n");
}

TEST(ConfigDiff, PrintsWhatIsNew) {
  EXPECT_EQ(difference("[usb]\nsmartcard=0\n", content), "+ usb:hid_only [:1]\n");
  EXPECT_EQ(difference("", content), "+ usb:hid_only [:1]\n+ usb:smartcard [:0]\n");
}

TEST(ConfigDiff, FollowsTheOlderOrderAndEndsWithWhatIsNew) {
  EXPECT_EQ(difference("[z]\na=1\nb=2\nc=3\n[a]\nd=4\n", "[n]\ny=8\n[a]\nd=5\n[z]\nx=9\nc=7\nb=2\n"),
            "- z:a [1:]\n"
            "c z:c [3:7]\n"
            "c a:d [4:5]\n"
            "+ n:y [:8]\n"
            "+ z:x [:9]\n");
}

TEST(ConfigDiff, ComparesValuesCharacterByCharacter) {
  EXPECT_EQ(difference("[usb]\nx=Yes\n", "[usb]\nx=yes\n"), "c usb:x [Yes:yes]\n");
  EXPECT_EQ(difference("[usb]\nx=1\n", "[usb]\nx=01\n"), "c usb:x [1:01]\n");
}

TEST(ConfigDiff, ShowsValuesAsTheyAre) {
  EXPECT_EQ(difference("[usb]\nx=%s%n\ny=\n", "[usb]\nx=[a:b]\ny=1\n"),
            "c usb:x [%s%n:[a:b]]\nc usb:y [:1]\n");
}

TEST(ConfigDiff, PassesOverSections) {
  EXPECT_EQ(difference("[a]\n[b]\n", "[c]\n"), "");
}

TEST(ConfigDiff, TakesASectionInASettingsPlaceForNone) {
  EXPECT_EQ(difference("[usb]\nx=1\n", "[usb]\n[usb:x]\n"), "- usb:x [1:]\n");
  EXPECT_EQ(difference("[usb]\n[usb:x]\n", "[usb]\nx=1\n"), "+ usb:x [:1]\n");
}

TEST(ConfigDiff, RefusesNoDictionary) {
  const Config config = configOf(content);
  const CapturedOutput output(stdout);
  EXPECT_EQ(configDiff(config.get(), nullptr), -1);
  EXPECT_EQ(configDiff(nullptr, config.get()), -1);
  EXPECT_EQ(configDiff(nullptr, nullptr), -1);
  EXPECT_EQ(output.text(), "");
}

TEST(ConfigPrintJson, PrintsOneSectionInSevenLines) {
  EXPECT_EQ(json(content),
            "{\n"
            "\t\"usb\": {\n"
            "\t\t\"hid_only\":\"1\",\n"
            "\t\t\"smartcard\":\"0\"\n"
            "\t}\n"
            "}\n");
}

TEST(ConfigPrintJson, DividesSectionsByCommas) {
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
}

TEST(ConfigPrintJson, PrintsSectionsWithoutSettings) {
  EXPECT_EQ(json("[a]\n[b]\n"),
            "{\n"
            "\t\"a\": {\n"
            "\n"
            "\t},\n"
            "\t\"b\": {\n"
            "\n"
            "\t}\n"
            "}\n");
}

TEST(ConfigPrintJson, PrintsItsEndsForAnEmptyDictionary) {
  EXPECT_EQ(json(""), "{\n\n\t}\n}\n");
}

TEST(ConfigPrintJson, EscapesNothing) {
  EXPECT_EQ(json("[a b]\nx y=say \"no\" \\ 100%d\n"),
            "{\n\t\"a b\": {\n\t\t\"x y\":\"say \"no\" \\ 100%d\"\n\t}\n}\n");
}

TEST(ConfigPrintJson, EndsTheSectionAtTheFirstColon) {
  const Config config = configOf("[a]\n");
  configSet(config.get(), "a:b:c", "1");
  EXPECT_EQ(printed([&] { return configPrintJson(config.get()); }),
            "{\n\t\"a\": {\n\t\t\"b:c\":\"1\"\n\t}\n}\n");
}

TEST(ConfigPrintJson, FollowsTheOrderOfInsertion) {
  const Config config = configOf("[usb]\na=1\n[apps]\nb=2\n");
  configSet(config.get(), "usb:c", "3");
  EXPECT_EQ(
      printed([&] { return configPrintJson(config.get()); }),
      "{\n\t\"usb\": {\n\t\t\"a\":\"1\"\n\t},\n\t\"apps\": {\n\t\t\"b\":\"2\",\n\t\t\"c\":\"3\"\n\t}\n}\n");
}

TEST(ConfigPrintJson, PrintsAMissingValueAsAnEmptyOne) {
  const Config config = configOf("");
  configSet(config.get(), "a:none", nullptr);
  configSet(config.get(), "a:b", "1");
  EXPECT_EQ(printed([&] { return configPrintJson(config.get()); }),
            "{\n\t\"a\": {\n\t\t\"none\":\"\",\n\t\t\"b\":\"1\"\n\t}\n}\n");
}

TEST(ConfigPrintJson, RefusesNoDictionary) {
  const CapturedOutput output(stdout);
  EXPECT_EQ(configPrintJson(nullptr), -1);
  EXPECT_EQ(output.text(), "");
}

TEST(ConfigPrintSed, PrintsACommandForEachSettingAndALineEnd) {
  EXPECT_EQ(sed(configOf("[usb]\nhid_only=1\n[apps]\nx=program\n")),
            "s!\\$usb:hid_only\\$!1!g\n"
            "s!\\$apps:x\\$!program!g\n"
            "\n");
}

TEST(ConfigPrintSed, PrintsOnlyALineEndWithoutSettings) {
  EXPECT_EQ(sed(configOf("")), "\n");
  EXPECT_EQ(sed(configOf("[usb]\n[apps]\n")), "\n");
}

TEST(ConfigPrintSed, PrintsAMissingValueAsAnEmptyOne) {
  const Config config = configOf("[usb]\nempty=\n");
  configSet(config.get(), "usb:none", nullptr);
  EXPECT_EQ(sed(config), "s!\\$usb:empty\\$!!g\ns!\\$usb:none\\$!!g\n\n");
}

TEST(ConfigPrintSed, PrintsValuesAsTheyAre) {
  EXPECT_EQ(sed(configOf("[usb]\nx=a!b&c\\%d\n")), "s!\\$usb:x\\$!a!b&c\\%d!g\n\n");
}

TEST(ConfigPrintSed, RefusesNoDictionary) {
  const CapturedOutput output(stdout);
  EXPECT_EQ(configPrintSed(nullptr), -1);
  EXPECT_EQ(output.text(), "");
}

}  // namespace
