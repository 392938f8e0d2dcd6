#include "config/query.h"

#include <gtest/gtest.h>

#include <string>

#include "config/load.h"
#include "unit/config/config_file.h"

namespace {

// A loaded file.
class Config {
 public:
  explicit Config(const std::string& content) : dictionary_(configLoad(ConfigFile(content).name())) {}
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;
  ~Config() { configFree(dictionary_); }

  [[nodiscard]] const ConfigDictionary* operator*() const { return dictionary_; }

 private:
  ConfigDictionary* dictionary_;
};

// A loaded file with "usb:x" set to `value`.
class Setting : public Config {
 public:
  explicit Setting(const std::string& value) : Config("[usb]\nx=" + value + "\n") {}
};

int intOf(const std::string& value) {
  return configGetInt(*Setting(value), -77, "usb:x");
}

double doubleOf(const std::string& value) {
  return configGetDouble(*Setting(value), -77.5, "usb:x");
}

int boolOf(const std::string& value, int fallback) {
  return configGetBool(*Setting(value), fallback, "usb:x");
}

// The value is told from every fallback.
void expectBool(const std::string& value, int expected) {
  EXPECT_EQ(boolOf(value, 0), expected) << value;
  EXPECT_EQ(boolOf(value, 1), expected) << value;
  EXPECT_EQ(boolOf(value, 7), expected) << value;
}

void expectNoBool(const std::string& value) {
  EXPECT_EQ(boolOf(value, 0), 0) << value;
  EXPECT_EQ(boolOf(value, 1), 1) << value;
  EXPECT_EQ(boolOf(value, 7), 7) << value;
}

constexpr std::size_t keyLimit = 255;
const std::string longestName(keyLimit - 4, 'k');  // after "usb:"

TEST(ConfigGetString, GivesTheTextAsItStands) {
  EXPECT_STREQ(configGetString(*Setting("Some Text, 50%d"), "none", "usb:x"), "Some Text, 50%d");
}

TEST(ConfigGetString, GivesTheFallbackItselfWhereNoKeyIs) {
  const char* fallback = "fallback";
  const Config config("[usb]\nx=1\n");
  EXPECT_EQ(configGetString(*config, fallback, "usb:y"), fallback);
  EXPECT_EQ(configGetString(*config, fallback, "apps:x"), fallback);
  EXPECT_EQ(configGetString(*config, nullptr, "usb:y"), nullptr);
}

TEST(ConfigGetString, GivesTheDictionarysOwnText) {
  const Config config("[usb]\nx=text\n");
  EXPECT_EQ(configGetString(*config, nullptr, "usb:x"), configGetString(*config, nullptr, "usb:x"));
}

TEST(ConfigGetString, FormatsTheKey) {
  const Config config("[usb]\nport_7=seven\n");
  EXPECT_STREQ(configGetString(*config, "none", "%s:port_%d", "usb", 7), "seven");
}

TEST(ConfigGetString, FindsAKeyInAnyCase) {
  const Config config("[Usb]\nDebug=Ctrl\n");
  EXPECT_STREQ(configGetString(*config, "none", "usb:debug"), "Ctrl");
  EXPECT_STREQ(configGetString(*config, "none", "USB:%s", "DeBuG"), "Ctrl");
}

TEST(ConfigGetString, FindsAKeyOf255Characters) {
  const Config config("[usb]\n" + longestName + "=found\n");
  EXPECT_STREQ(configGetString(*config, "none", "usb:%s", longestName.c_str()), "found");
}

TEST(ConfigGetString, CutsALongerKeyTo255Characters) {
  const Config config("[usb]\n" + longestName + "=found\n");
  EXPECT_STREQ(configGetString(*config, "none", "usb:%sand more", longestName.c_str()), "found");
}

TEST(ConfigGetString, CannotFindAKeyOf256Characters) {
  const Config config("[usb]\n" + longestName + "k=found\n");
  EXPECT_STREQ(configGetString(*config, "none", "usb:%sk", longestName.c_str()), "none");
}

TEST(ConfigGetInt, ReadsDecimalOctalAndHexadecimal) {
  EXPECT_EQ(intOf("42"), 42);
  EXPECT_EQ(intOf("-42"), -42);
  EXPECT_EQ(intOf("042"), 34);
  EXPECT_EQ(intOf("0x42"), 66);
}

TEST(ConfigGetInt, ReadsTheNumberAtTheStart) {
  EXPECT_EQ(intOf("12abc"), 12);
  EXPECT_EQ(intOf("abc"), 0);
}

TEST(ConfigGetInt, GivesTheFallbackWhereNoKeyIs) {
  EXPECT_EQ(configGetInt(*Setting("1"), -77, "usb:y"), -77);
}

TEST(ConfigGetDouble, ReadsANumber) {
  EXPECT_DOUBLE_EQ(doubleOf("2.5"), 2.5);
  EXPECT_DOUBLE_EQ(doubleOf("-1e3"), -1000.0);
  EXPECT_DOUBLE_EQ(doubleOf("7"), 7.0);
}

TEST(ConfigGetDouble, ReadsTheNumberAtTheStart) {
  EXPECT_DOUBLE_EQ(doubleOf("2.5s"), 2.5);
  EXPECT_DOUBLE_EQ(doubleOf("abc"), 0.0);
}

TEST(ConfigGetDouble, GivesTheFallbackWhereNoKeyIs) {
  EXPECT_DOUBLE_EQ(configGetDouble(*Setting("1"), -77.5, "usb:y"), -77.5);
}

TEST(ConfigGetBool, IsTrueByTheFirstCharacter) {
  for (const char* value :
       {"1", "t", "T", "y", "Y", "true", "TRUE", "yes", "Yes", "10", "1 or not", "truly"}) {
    expectBool(value, 1);
  }
}

TEST(ConfigGetBool, IsFalseByTheFirstCharacter) {
  for (const char* value : {"0", "f", "F", "n", "N", "false", "FALSE", "no", "No", "01", "0x1", "never"}) {
    expectBool(value, 0);
  }
}

TEST(ConfigGetBool, IsTheFallbackForAnythingElse) {
  for (const char* value : {"2", "-1", "on", "off", "ON", "enabled", "\"\"", "+1", "j"}) {
    expectNoBool(value);
  }
}

TEST(ConfigGetBool, IsTheFallbackWhereNoKeyIs) {
  const Setting config("1");
  EXPECT_EQ(configGetBool(*config, 0, "usb:y"), 0);
  EXPECT_EQ(configGetBool(*config, 1, "usb:y"), 1);
  EXPECT_EQ(configGetBool(*config, -1, "usb:y"), -1);
}

TEST(ConfigHasKey, IsOneForASettingAndForASection) {
  const Config config("[usb]\nx=1\nempty=\n");
  EXPECT_EQ(configHasKey(*config, "usb:x"), 1);
  EXPECT_EQ(configHasKey(*config, "usb:empty"), 1);
  EXPECT_EQ(configHasKey(*config, "usb"), 1);
}

TEST(ConfigHasKey, IsZeroWhereNoKeyIs) {
  const Config config("[usb]\nx=1\n");
  EXPECT_EQ(configHasKey(*config, "usb:y"), 0);
  EXPECT_EQ(configHasKey(*config, "x"), 0);
  EXPECT_EQ(configHasKey(*config, "apps"), 0);
}

TEST(EveryQuery, FormatsItsKeyAndFindsItInAnyCase) {
  const Config config("[Usb]\nNumber_7=1\n");
  EXPECT_EQ(configGetInt(*config, 0, "%s:NUMBER_%d", "USB", 7), 1);
  EXPECT_DOUBLE_EQ(configGetDouble(*config, 0, "%s:NUMBER_%d", "USB", 7), 1.0);
  EXPECT_EQ(configGetBool(*config, 0, "%s:NUMBER_%d", "USB", 7), 1);
  EXPECT_EQ(configHasKey(*config, "%s:NUMBER_%d", "USB", 7), 1);
}

TEST(EveryQuery, CutsItsKeyTo255Characters) {
  const Config config("[usb]\n" + longestName + "=1\n");
  const char* name = longestName.c_str();
  EXPECT_EQ(configGetInt(*config, 0, "usb:%s!", name), 1);
  EXPECT_DOUBLE_EQ(configGetDouble(*config, 0, "usb:%s!", name), 1.0);
  EXPECT_EQ(configGetBool(*config, 0, "usb:%s!", name), 1);
  EXPECT_EQ(configHasKey(*config, "usb:%s!", name), 1);
}

TEST(EveryQuery, TakesASectionForASettingWithoutAText) {
  const Config config("[usb:hid_only]\n[usb]\nx=1\n");
  for (const char* section : {"usb:hid_only", "usb"}) {
    EXPECT_EQ(configGetString(*config, "none", "%s", section), nullptr);
    EXPECT_EQ(configGetInt(*config, 5, "%s", section), 5);
    EXPECT_DOUBLE_EQ(configGetDouble(*config, 0.5, "%s", section), 0.5);
    EXPECT_EQ(configGetBool(*config, 1, "%s", section), 1);
    EXPECT_EQ(configGetBool(*config, 0, "%s", section), 0);
    EXPECT_EQ(configHasKey(*config, "%s", section), 1);
  }
}

TEST(EveryQuery, FindsNothingInNoDictionary) {
  EXPECT_STREQ(configGetString(nullptr, "none", "usb:x"), "none");
  EXPECT_EQ(configGetInt(nullptr, 5, "usb:x"), 5);
  EXPECT_DOUBLE_EQ(configGetDouble(nullptr, 0.5, "usb:x"), 0.5);
  EXPECT_EQ(configGetBool(nullptr, 1, "usb:x"), 1);
  EXPECT_EQ(configHasKey(nullptr, "usb:x"), 0);
}

}  // namespace
