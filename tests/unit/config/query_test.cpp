#include "config/query.h"

#include <gtest/gtest.h>

#include <string>

#include "unit/config/config_file.h"

namespace {

Config setting(const std::string& value) {
  return configOf("[usb]\nx=" + value + "\n");
}

int intOf(const std::string& value) {
  return configGetInt(setting(value).get(), -77, "usb:x");
}

double doubleOf(const std::string& value) {
  return configGetDouble(setting(value).get(), -77.5, "usb:x");
}

// The value with each of the fallbacks 0, 1 and 7.
std::string boolOf(const std::string& value) {
  const Config config = setting(value);
  std::string values;
  for (const int fallback : {0, 1, 7}) {
    values += std::to_string(configGetBool(config.get(), fallback, "usb:x"));
  }
  return values;
}

// After "usb:" it makes a key of 255 characters.
const std::string longestName(251, 'k');

TEST(QueryString, IsTheDictionarysOwnText) {
  const Config config = setting("Some Text, 50%d");
  EXPECT_STREQ(configGetString(config.get(), "none", "usb:x"), "Some Text, 50%d");
  EXPECT_EQ(configGetString(config.get(), "none", "usb:x"), configGetString(config.get(), "none", "usb:x"));
}

TEST(QueryString, IsTheFallbackItselfWithoutTheKey) {
  const char* fallback = "fallback";
  const Config config = setting("1");
  EXPECT_EQ(configGetString(config.get(), fallback, "usb:y"), fallback);
  EXPECT_EQ(configGetString(config.get(), fallback, "apps:x"), fallback);
  EXPECT_EQ(configGetString(config.get(), nullptr, "usb:y"), nullptr);
}

TEST(QueryString, CannotHaveAKeyOf256Characters) {
  const Config config = configOf("[usb]\n" + longestName + "k=found\n");
  EXPECT_STREQ(configGetString(config.get(), "none", "usb:%sk", longestName.c_str()), "none");
}

TEST(QueryInt, IsTheNumberAtTheStartInItsBase) {
  EXPECT_EQ(intOf("42"), 42);
  EXPECT_EQ(intOf("-42"), -42);
  EXPECT_EQ(intOf("042"), 34);
  EXPECT_EQ(intOf("0x42"), 66);
  EXPECT_EQ(intOf("12abc"), 12);
  EXPECT_EQ(intOf("abc"), 0);
}

TEST(QueryDouble, IsTheNumberAtTheStart) {
  EXPECT_DOUBLE_EQ(doubleOf("2.5"), 2.5);
  EXPECT_DOUBLE_EQ(doubleOf("-1e3"), -1000.0);
  EXPECT_DOUBLE_EQ(doubleOf("7"), 7.0);
  EXPECT_DOUBLE_EQ(doubleOf("2.5s"), 2.5);
  EXPECT_DOUBLE_EQ(doubleOf("abc"), 0.0);
}

TEST(QueryBool, IsDecidedByTheFirstCharacter) {
  for (const char* value :
       {"1", "t", "T", "y", "Y", "true", "TRUE", "yes", "Yes", "10", "1 or not", "truly"}) {
    EXPECT_EQ(boolOf(value), "111") << value;
  }
  for (const char* value : {"0", "f", "F", "n", "N", "false", "FALSE", "no", "No", "01", "0x1", "never"}) {
    EXPECT_EQ(boolOf(value), "000") << value;
  }
  for (const char* value : {"2", "-1", "on", "off", "ON", "enabled", "\"\"", "+1", "j"}) {
    EXPECT_EQ(boolOf(value), "017") << value;
  }
}

TEST(Query, FormatsItsKeyAndFindsItInAnyCase) {
  const Config config = configOf("[Usb]\nNumber_7=1\n");
  EXPECT_STREQ(configGetString(config.get(), "none", "%s:NUMBER_%d", "USB", 7), "1");
  EXPECT_EQ(configGetInt(config.get(), 0, "%s:NUMBER_%d", "USB", 7), 1);
  EXPECT_DOUBLE_EQ(configGetDouble(config.get(), 0, "%s:NUMBER_%d", "USB", 7), 1.0);
  EXPECT_EQ(configGetBool(config.get(), 0, "%s:NUMBER_%d", "USB", 7), 1);
  EXPECT_EQ(configHasKey(config.get(), "%s:NUMBER_%d", "USB", 7), 1);
}

TEST(Query, CutsItsKeyTo255Characters) {
  const Config config = configOf("[usb]\n" + longestName + "=1\n");
  const char* name = longestName.c_str();
  EXPECT_STREQ(configGetString(config.get(), "none", "usb:%s", name), "1");
  EXPECT_STREQ(configGetString(config.get(), "none", "usb:%sand more", name), "1");
  EXPECT_EQ(configGetInt(config.get(), 0, "usb:%s!", name), 1);
  EXPECT_DOUBLE_EQ(configGetDouble(config.get(), 0, "usb:%s!", name), 1.0);
  EXPECT_EQ(configGetBool(config.get(), 0, "usb:%s!", name), 1);
  EXPECT_EQ(configHasKey(config.get(), "usb:%s!", name), 1);
}

TEST(Query, TakesASectionForAKeyWithoutAText) {
  const Config config = configOf("[usb:hid_only]\n[usb]\nx=1\n");
  for (const char* section : {"usb:hid_only", "usb"}) {
    EXPECT_EQ(configGetString(config.get(), "none", "%s", section), nullptr);
    EXPECT_EQ(configGetInt(config.get(), 5, "%s", section), 5);
    EXPECT_DOUBLE_EQ(configGetDouble(config.get(), 0.5, "%s", section), 0.5);
    EXPECT_EQ(configGetBool(config.get(), 1, "%s", section), 1);
    EXPECT_EQ(configGetBool(config.get(), 0, "%s", section), 0);
    EXPECT_EQ(configHasKey(config.get(), "%s", section), 1);
  }
}

TEST(Query, FindsAnEmptyTextButNoPartOfAKey) {
  const Config config = configOf("[usb]\nempty=\n");
  EXPECT_EQ(configHasKey(config.get(), "usb:empty"), 1);
  EXPECT_EQ(configHasKey(config.get(), "empty"), 0);
  EXPECT_EQ(configHasKey(config.get(), "apps"), 0);
}

TEST(Query, HasItsFallbackWithoutTheKeyOrWithoutADictionary) {
  const Config config = setting("1");
  for (const ConfigDictionary* d : {config.get(), static_cast<ConfigDictionary*>(nullptr)}) {
    EXPECT_STREQ(configGetString(d, "none", "usb:y"), "none");
    EXPECT_EQ(configGetInt(d, -77, "usb:y"), -77);
    EXPECT_DOUBLE_EQ(configGetDouble(d, -77.5, "usb:y"), -77.5);
    EXPECT_EQ(configGetBool(d, -1, "usb:y"), -1);
    EXPECT_EQ(configHasKey(d, "usb:y"), 0);
  }
}

}  // namespace
