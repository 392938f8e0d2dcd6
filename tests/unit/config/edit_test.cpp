#include "config/edit.h"

#include <gtest/gtest.h>

#include <string>

#include "config/query.h"
#include "support/output.h"
#include "support/standard_output.h"
#include "unit/config/config_file.h"

namespace {

const std::string content = "[usb]\nhid_only=1\nsmartcard=0\n[apps]\nx=program\n";
const std::string entries = " usb usb:hid_only=1 usb:smartcard=0 apps apps:x=program";

// The result of `edit` on that content, and the entries afterwards. An edit prints nothing.
template <class Edit>
std::string edited(Edit edit) {
  const Config config = configOf(content);
  const support::CapturedStandardOutput output;
  const support::CapturedStandardError errors;
  const std::string result = std::to_string(edit(config.get()));
  EXPECT_EQ(output.text(), "");
  EXPECT_TRUE(errors.writes().empty());
  return result + entriesOf(config);
}

std::string set(const char* key, const char* value) {
  return edited([=](ConfigDictionary* d) { return configSet(d, key, value); });
}

std::string withSection(const char* name) {
  return edited([=](ConfigDictionary* d) { return configAddSection(d, name); });
}

std::string without(const char* key) {
  return edited([=](ConfigDictionary* d) { return configUnset(d, key); });
}

std::string mergedWith(const Config& other) {
  return edited([&](ConfigDictionary* d) { return configMerge(d, other.get()); });
}

TEST(EditSet, ChangesAValueInItsPlace) {
  EXPECT_EQ(set("usb:hid_only", "yes"), "0 usb usb:hid_only=yes usb:smartcard=0 apps apps:x=program");
}

TEST(EditSet, AddsASettingAtTheEndAfterItsMissingSection) {
  EXPECT_EQ(set("usb:debug", "ctrl"), "0" + entries + " usb:debug=ctrl");
  EXPECT_EQ(set("link:speed", "high"), "0" + entries + " link link:speed=high");
  EXPECT_EQ(set("a:b:c", "1"), "0" + entries + " a a:b:c=1");
  const Config empty = configOf("");
  EXPECT_EQ(configSet(empty.get(), "usb:debug", "ctrl"), 0);
  EXPECT_EQ(entriesOf(empty), " usb usb:debug=ctrl");
}

TEST(EditSet, MakesKeysLowerCaseAndKeepsValues) {
  EXPECT_EQ(set("USB:Debug", "CTRL"), "0" + entries + " usb:debug=CTRL");
}

TEST(EditSet, RefusesAKeyWithoutAColon) {
  for (const char* key : {"usb", "debug", ""}) {
    EXPECT_EQ(set(key, "1"), "-1" + entries);
  }
}

TEST(EditSet, TakesNoValue) {
  EXPECT_EQ(set("usb:hid_only", nullptr), "0 usb usb:hid_only usb:smartcard=0 apps apps:x=program");
}

TEST(EditSet, CopiesTheValueThatMayBeTheDictionarysOwn) {
  const Config config = configOf(content);
  EXPECT_EQ(configSet(config.get(), "apps:x", configGetString(config.get(), nullptr, "apps:x")), 0);
  EXPECT_EQ(entriesOf(config), entries);
  std::string value = "before";
  configSet(config.get(), "apps:x", value.c_str());
  value.replace(0, value.size(), "after!");
  EXPECT_STREQ(configGetString(config.get(), nullptr, "apps:x"), "before");
}

TEST(EditAddSection, AddsAnEmptySectionUnlessItIsThere) {
  EXPECT_EQ(withSection("Link"), "0" + entries + " link");
  EXPECT_EQ(withSection("usb"), "0" + entries);
}

TEST(EditAddSection, RefusesANameWithAColon) {
  for (const char* name : {"usb:hid_only", ":", "link:"}) {
    EXPECT_EQ(withSection(name), "-1" + entries);
  }
}

TEST(EditUnset, RemovesOneEntryInAnyCase) {
  EXPECT_EQ(without("USB:Hid_Only"), "0 usb usb:smartcard=0 apps apps:x=program");
  EXPECT_EQ(without("apps"), "0 usb usb:hid_only=1 usb:smartcard=0 apps:x=program");
}

TEST(EditUnset, AcceptsAMissingKey) {
  EXPECT_EQ(without("usb:debug"), "0" + entries);
  EXPECT_EQ(without("nothing"), "0" + entries);
}

TEST(EditMerge, SetsEverySettingOfTheOtherAndLeavesThatAsItIs) {
  const Config other = configOf("[link]\nspeed=high\n[usb]\nhid_only=0\ndebug=all\n");
  EXPECT_EQ(mergedWith(other),
            "0 usb usb:hid_only=0 usb:smartcard=0 apps apps:x=program"
            " link link:speed=high usb:debug=all");
  EXPECT_EQ(entriesOf(other), " link link:speed=high usb usb:hid_only=0 usb:debug=all");
}

TEST(EditMerge, PassesOverWhatIsNoSettingWithAValue) {
  const Config other = configOf("[link]\n[more]\n");
  configSet(other.get(), "link:speed", nullptr);
  configSet(other.get(), "usb:hid_only", nullptr);
  iniparser_set(other.get(), "alone", "text");
  EXPECT_EQ(mergedWith(other), "0" + entries);
}

TEST(EditMerge, ChangesNothingOfADictionaryWithItself) {
  EXPECT_EQ(edited([](ConfigDictionary* d) { return configMerge(d, d); }), "0" + entries);
}

TEST(EditSectionCount, CountsTheEntriesWithoutAColon) {
  EXPECT_EQ(edited(configSectionCount), "2" + entries);
  EXPECT_EQ(configSectionCount(configOf("").get()), 0);
  const Config config = configOf("[a]\n[b]\n[c]\nx=1\n");
  EXPECT_EQ(configSectionCount(config.get()), 3);
  iniparser_set(config.get(), "alone", "text");
  EXPECT_EQ(configSectionCount(config.get()), 4);
  configUnset(config.get(), "c");
  EXPECT_EQ(configSectionCount(config.get()), 3);
}

TEST(Edit, RefusesNoDictionary) {
  EXPECT_EQ(configSet(nullptr, "usb:debug", "1"), -1);
  EXPECT_EQ(configSet(nullptr, "usb", "1"), -1);
  EXPECT_EQ(configAddSection(nullptr, "usb"), -1);
  EXPECT_EQ(configUnset(nullptr, "usb:debug"), -1);
  EXPECT_EQ(mergedWith(nullptr), "-1" + entries);
  EXPECT_EQ(configMerge(nullptr, configOf(content).get()), -1);
  EXPECT_EQ(configMerge(nullptr, nullptr), -1);
  EXPECT_EQ(configSectionCount(nullptr), -1);
}

}  // namespace
