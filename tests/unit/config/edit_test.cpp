#include "config/edit.h"

#include <gtest/gtest.h>

#include <string>

#include "unit/config/captured_output.h"
#include "unit/config/loaded_config.h"

namespace {

const std::string content = "[usb]\nhid_only=1\nsmartcard=0\n[apps]\nx=program\n";
const Entries entries = {{"usb", "(section)"},
                         {"usb:hid_only", "1"},
                         {"usb:smartcard", "0"},
                         {"apps", "(section)"},
                         {"apps:x", "program"}};

Entries with(Entries changed, const Entries& more) {
  changed.insert(changed.end(), more.begin(), more.end());
  return changed;
}

TEST(ConfigSet, ChangesAValueInItsPlace) {
  const Config config = configOf(content);
  EXPECT_EQ(configSet(config.get(), "usb:hid_only", "yes"), 0);
  EXPECT_EQ(entriesOf(config), (Entries{{"usb", "(section)"},
                                        {"usb:hid_only", "yes"},
                                        {"usb:smartcard", "0"},
                                        {"apps", "(section)"},
                                        {"apps:x", "program"}}));
}

TEST(ConfigSet, AddsASettingAtTheEnd) {
  const Config config = configOf(content);
  EXPECT_EQ(configSet(config.get(), "usb:debug", "ctrl"), 0);
  EXPECT_EQ(entriesOf(config), with(entries, {{"usb:debug", "ctrl"}}));
}

TEST(ConfigSet, MakesTheMissingSectionFirst) {
  const Config config = configOf(content);
  EXPECT_EQ(configSet(config.get(), "link:speed", "high"), 0);
  EXPECT_EQ(entriesOf(config), with(entries, {{"link", "(section)"}, {"link:speed", "high"}}));
}

TEST(ConfigSet, WorksOnAnEmptyDictionary) {
  const Config config = configOf("");
  EXPECT_EQ(configSet(config.get(), "usb:debug", "ctrl"), 0);
  EXPECT_EQ(entriesOf(config), (Entries{{"usb", "(section)"}, {"usb:debug", "ctrl"}}));
}

TEST(ConfigSet, EndsTheSectionAtTheFirstColon) {
  const Config config = configOf("");
  EXPECT_EQ(configSet(config.get(), "a:b:c", "1"), 0);
  EXPECT_EQ(entriesOf(config), (Entries{{"a", "(section)"}, {"a:b:c", "1"}}));
}

TEST(ConfigSet, MakesKeysLowerCaseAndKeepsValues) {
  const Config config = configOf(content);
  EXPECT_EQ(configSet(config.get(), "USB:Debug", "CTRL"), 0);
  EXPECT_EQ(entriesOf(config), with(entries, {{"usb:debug", "CTRL"}}));
}

TEST(ConfigSet, RefusesAKeyWithoutAColon) {
  const Config config = configOf(content);
  EXPECT_EQ(configSet(config.get(), "usb", "1"), -1);
  EXPECT_EQ(configSet(config.get(), "debug", "1"), -1);
  EXPECT_EQ(configSet(config.get(), "", "1"), -1);
  EXPECT_EQ(entriesOf(config), entries);
}

TEST(ConfigSet, RefusesNoDictionary) {
  EXPECT_EQ(configSet(nullptr, "usb:debug", "1"), -1);
  EXPECT_EQ(configSet(nullptr, "usb", "1"), -1);
}

TEST(ConfigSet, TakesNoValue) {
  const Config config = configOf(content);
  EXPECT_EQ(configSet(config.get(), "usb:hid_only", nullptr), 0);
  EXPECT_EQ(configGetString(config.get(), "none", "usb:hid_only"), nullptr);
  EXPECT_EQ(configHasKey(config.get(), "usb:hid_only"), 1);
}

TEST(ConfigSet, TakesTheDictionarysOwnText) {
  const Config config = configOf(content);
  const char* own = configGetString(config.get(), nullptr, "apps:x");
  EXPECT_EQ(configSet(config.get(), "apps:x", own), 0);
  EXPECT_EQ(entriesOf(config), entries);
}

TEST(ConfigSet, KeepsACopyOfTheValue) {
  const Config config = configOf(content);
  std::string value = "before";
  configSet(config.get(), "usb:hid_only", value.c_str());
  value.replace(0, value.size(), "after!");
  EXPECT_EQ(textOf(config, "usb:hid_only"), "before");
}

TEST(ConfigAddSection, AddsAnEmptySection) {
  const Config config = configOf(content);
  EXPECT_EQ(configAddSection(config.get(), "Link"), 0);
  EXPECT_EQ(entriesOf(config), with(entries, {{"link", "(section)"}}));
}

TEST(ConfigAddSection, LeavesASectionThatIsThereAsItIs) {
  const Config config = configOf(content);
  EXPECT_EQ(configAddSection(config.get(), "usb"), 0);
  EXPECT_EQ(entriesOf(config), entries);
}

TEST(ConfigAddSection, RefusesANameWithAColon) {
  const Config config = configOf(content);
  EXPECT_EQ(configAddSection(config.get(), "usb:hid_only"), -1);
  EXPECT_EQ(configAddSection(config.get(), ":"), -1);
  EXPECT_EQ(configAddSection(config.get(), "link:"), -1);
  EXPECT_EQ(entriesOf(config), entries);
}

TEST(ConfigAddSection, RefusesNoDictionary) {
  EXPECT_EQ(configAddSection(nullptr, "usb"), -1);
}

TEST(ConfigUnset, RemovesASetting) {
  const Config config = configOf(content);
  EXPECT_EQ(configUnset(config.get(), "usb:hid_only"), 0);
  EXPECT_EQ(
      entriesOf(config),
      (Entries{{"usb", "(section)"}, {"usb:smartcard", "0"}, {"apps", "(section)"}, {"apps:x", "program"}}));
}

TEST(ConfigUnset, RemovesASectionWithoutItsSettings) {
  const Config config = configOf(content);
  EXPECT_EQ(configUnset(config.get(), "apps"), 0);
  EXPECT_EQ(
      entriesOf(config),
      (Entries{{"usb", "(section)"}, {"usb:hid_only", "1"}, {"usb:smartcard", "0"}, {"apps:x", "program"}}));
}

TEST(ConfigUnset, FindsAKeyInAnyCase) {
  const Config config = configOf(content);
  EXPECT_EQ(configUnset(config.get(), "USB:Hid_Only"), 0);
  EXPECT_EQ(configHasKey(config.get(), "usb:hid_only"), 0);
}

TEST(ConfigUnset, DoesNotMindAKeyThatIsNotThere) {
  const Config config = configOf(content);
  EXPECT_EQ(configUnset(config.get(), "usb:debug"), 0);
  EXPECT_EQ(configUnset(config.get(), "nothing"), 0);
  EXPECT_EQ(entriesOf(config), entries);
}

TEST(ConfigUnset, RefusesNoDictionary) {
  EXPECT_EQ(configUnset(nullptr, "usb:debug"), -1);
}

TEST(ConfigMerge, SetsEverySettingOfTheOther) {
  const Config config = configOf(content);
  const Config other = configOf("[link]\nspeed=high\n[usb]\nhid_only=0\ndebug=all\n");
  EXPECT_EQ(configMerge(config.get(), other.get()), 0);
  EXPECT_EQ(entriesOf(config), (Entries{{"usb", "(section)"},
                                        {"usb:hid_only", "0"},
                                        {"usb:smartcard", "0"},
                                        {"apps", "(section)"},
                                        {"apps:x", "program"},
                                        {"link", "(section)"},
                                        {"link:speed", "high"},
                                        {"usb:debug", "all"}}));
}

TEST(ConfigMerge, LeavesTheOtherAsItIs) {
  const Config config = configOf(content);
  const Config other = configOf("[usb]\nhid_only=0\n");
  configMerge(config.get(), other.get());
  EXPECT_EQ(entriesOf(other), (Entries{{"usb", "(section)"}, {"usb:hid_only", "0"}}));
}

TEST(ConfigMerge, MakesNoSectionThatHasNoSettings) {
  const Config config = configOf(content);
  EXPECT_EQ(configMerge(config.get(), configOf("[link]\n[more]\n").get()), 0);
  EXPECT_EQ(entriesOf(config), entries);
}

TEST(ConfigMerge, PassesOverSettingsWithoutAValue) {
  const Config config = configOf(content);
  const Config other = configOf("");
  configSet(other.get(), "link:speed", nullptr);
  configSet(other.get(), "usb:hid_only", nullptr);
  EXPECT_EQ(configMerge(config.get(), other.get()), 0);
  EXPECT_EQ(entriesOf(config), entries);
}

TEST(ConfigMerge, PassesOverTextsUnderNoSection) {
  const Config config = configOf(content);
  const Config other = configOf("");
  iniparser_set(other.get(), "alone", "text");
  EXPECT_EQ(configMerge(config.get(), other.get()), 0);
  EXPECT_EQ(entriesOf(config), entries);
}

TEST(ConfigMerge, ChangesNothingOfADictionaryWithItself) {
  const Config config = configOf(content);
  EXPECT_EQ(configMerge(config.get(), config.get()), 0);
  EXPECT_EQ(entriesOf(config), entries);
}

TEST(ConfigMerge, RefusesNoDictionary) {
  const Config config = configOf(content);
  EXPECT_EQ(configMerge(config.get(), nullptr), -1);
  EXPECT_EQ(configMerge(nullptr, config.get()), -1);
  EXPECT_EQ(configMerge(nullptr, nullptr), -1);
  EXPECT_EQ(entriesOf(config), entries);
}

TEST(ConfigSectionCount, CountsTheSections) {
  EXPECT_EQ(configSectionCount(configOf(content).get()), 2);
  EXPECT_EQ(configSectionCount(configOf("[a]\n[b]\n[c]\n").get()), 3);
  EXPECT_EQ(configSectionCount(configOf("").get()), 0);
}

TEST(ConfigSectionCount, CountsEveryEntryWithoutAColon) {
  const Config config = configOf(content);
  iniparser_set(config.get(), "alone", "text");
  EXPECT_EQ(configSectionCount(config.get()), 3);
  configUnset(config.get(), "usb");
  EXPECT_EQ(configSectionCount(config.get()), 2);
}

TEST(ConfigSectionCount, RefusesNoDictionary) {
  EXPECT_EQ(configSectionCount(nullptr), -1);
}

TEST(EveryEdit, SaysNothing) {
  const CapturedOutput output(stdout);
  const CapturedOutput errors(stderr);
  const Config config = configOf(content);
  configSet(config.get(), "usb", "1");
  configSet(config.get(), "usb:debug", "1");
  configAddSection(config.get(), "a:b");
  configUnset(config.get(), "nothing");
  configMerge(config.get(), nullptr);
  configSectionCount(nullptr);
  EXPECT_EQ(output.text(), "");
  EXPECT_EQ(errors.text(), "");
}

}  // namespace
