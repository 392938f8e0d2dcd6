// The commands of quor_config that change the file, and what they refuse to write.

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "support/named_case.h"
#include "unit/tools/quor_config_run.h"

namespace {

const std::string content = "[usb]\nhid_only=1\n[apps]\nx=program\n";

struct Change : support::NamedCase {
  std::optional<std::string> before;  ///< absent: no file
  Arguments command;
  Outcome outcome;
  std::optional<std::string> after;  ///< text of the same settings; absent: the file is as before
};

const std::optional<std::string> noFile;

Change saved(const char* name, const std::optional<std::string>& before, const Arguments& command,
             const std::string& after) {
  return {name, before, command, done(), after};
}

Change refused(const char* name, const std::optional<std::string>& before, const Arguments& command,
               const Outcome& outcome) {
  return {name, before, command, outcome, std::nullopt};
}

const std::vector<Change> changes = {
    saved("SetOfASetting", content, {"set", "usb:hid_only", "no"}, "[usb]\nhid_only=no\n[apps]\nx=program\n"),
    saved("SetOfANewSettingAndSection", content, {"set", "link:speed", "very high"},
          content + "[link]\nspeed=very high\n"),
    saved("SetOfAnEmptyValue", content, {"set", "usb:hid_only", ""}, "[usb]\nhid_only=\n[apps]\nx=program\n"),
    saved("SetMakeAMissingFile", noFile, {"set", "usb:debug", "ctrl"}, "[usb]\ndebug=ctrl\n"),
    refused("SetNeedASection", content, {"set", "hid_only", "0"}, failed("not a section:key: hid_only")),
    refused("SetNeedASectionForAMissingFile", noFile, {"set", "hid_only", "0"},
            failed("not a section:key: hid_only")),
    refused("SetNeedAKeyThatIniTextCanHold", content, {"set", "usb:a=b", "1"},
            failed("nothing saved, INI text cannot hold this: usb:a=b")),
    saved("UnsetOfASetting", content, {"unset", "USB:hid_only"}, "[usb]\n[apps]\nx=program\n"),
    saved("UnsetOfAnEmptySection", "[empty]\n" + content, {"unset", "empty"}, content),
    refused("UnsetNeedAnEmptySection", content, {"unset", "usb"},
            failed("nothing saved, INI text cannot hold this: usb:hid_only")),
    refused("UnsetNeedAKnownKey", content, {"unset", "usb:debug"}, notFoundOrDifferent()),
    refused("UnsetNeedAKnownSection", content, {"unset", "link"}, notFoundOrDifferent()),
    saved("AddSectionAtTheEnd", content, {"add-section", "link"}, content + "[link]\n"),
    saved("AddSectionMakeAMissingFile", noFile, {"add-section", "link"}, "[link]\n"),
    refused("AddSectionNeedANameWithoutColon", content, {"add-section", "usb:x"},
            failed("not a section's name: usb:x")),
};

class QuorConfigChanges : public testing::TestWithParam<Change> {};

INSTANTIATE_TEST_SUITE_P(By, QuorConfigChanges, testing::ValuesIn(changes),
                         testing::PrintToStringParamName());

TEST_P(QuorConfigChanges, AreSavedOrLeaveTheFileAsItWas) {
  const ConfiguredFile file = GetParam().before ? ConfiguredFile(*GetParam().before) : ConfiguredFile();
  EXPECT_EQ(file.run(GetParam().command), GetParam().outcome);
  if (GetParam().after) {
    EXPECT_EQ(file.run({"json"}), ConfiguredFile(*GetParam().after).run({"json"}));
  } else if (GetParam().before) {
    EXPECT_EQ(file.content(), *GetParam().before);
  } else {
    EXPECT_FALSE(file.exists());
  }
}

/** Nothing on standard output, an error, and a file with the content above. */
void expectRefused(const ConfiguredFile& file, const Outcome& outcome) {
  EXPECT_EQ(outcome.end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(outcome.output, "");
  EXPECT_NE(outcome.errors.find("quor_config: nothing saved, "), std::string::npos) << outcome.errors;
  EXPECT_EQ(file.content(), content);
}

// An iniparser that quotes what it writes (since 4.2.3) holds more than an older one. With either, nothing is
// saved that would read as something else.
void expectHeldOrRefused(const std::string& key, const std::string& value) {
  const ConfiguredFile file(content);
  const Outcome outcome = file.run({"set", key, value});
  if (outcome == done()) {
    EXPECT_EQ(file.get(key), done(value + "\n"));
  } else {
    expectRefused(file, outcome);
  }
}

TEST(QuorConfigChangesBySet, KeepThePermissions) {
  const ConfiguredFile file(content);
  const auto owners = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
  std::filesystem::permissions(file.path(), owners);
  EXPECT_EQ(file.run({"set", "usb:hid_only", "0"}), done());
  EXPECT_EQ(std::filesystem::status(file.path()).permissions(), owners);
}

TEST(QuorConfigChangesBySet, SaveNothingThatWouldReadAsSomethingElse) {
  for (const char* value : {"a;b", "a#b", "#", ";", " a", "a ", "\"a\"", "'a'"}) {
    expectHeldOrRefused("usb:x", value);
  }
  for (const char* key : {"usb:a=b", "usb:#a", "us]b:a", ":a"}) {
    expectHeldOrRefused(key, "1");
  }
}

TEST(QuorConfigChangesBySet, AreRefusedForMoreThanOneLine) {
  const ConfiguredFile file(content);
  expectRefused(file, file.run({"set", "usb:x", "1\ny=2"}));
  expectRefused(file, file.run({"set", "usb:x", "1\n"}));
  const Outcome outcome = file.run({"set", "usb:x", "1\nno setting"});
  EXPECT_EQ(outcome.end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(outcome.output, "");
  EXPECT_NE(outcome.errors.find("quor_config: nothing saved, this cannot be read: the new text\n"),
            std::string::npos);
  EXPECT_NE(outcome.errors.find("-> no setting"), std::string::npos) << outcome.errors;
  EXPECT_EQ(file.content(), content);
}

TEST(QuorConfigChangesBySet, TurnNoSectionIntoASetting) {
  const ConfiguredFile file("[a:b]\nc=2\n[a]\nz=3\n");
  EXPECT_EQ(file.run({"set", "usb:x", "1"}).end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(file.content(), "[a:b]\nc=2\n[a]\nz=3\n");
}

TEST(QuorConfigChangesBySet, AreRefusedWhenTheirTextCannotBeChecked) {
  const std::string original = "[usb]\n" + std::string(500, '#') + "\nx=" + std::string(500, 'x') + "\n";
  const ConfiguredFile file(original);
  sim::ProcessOptions smallFiles;
  smallFiles.limits = {{RLIMIT_FSIZE, 400}};
  smallFiles.ignoredSignals = {SIGXFSZ};
  EXPECT_EQ(quorConfig({"--file", file.path(), "set", "usb:y", "1"}, smallFiles),
            failed("File too large: temporary file"));
  EXPECT_EQ(file.content(), original);
}

TEST(QuorConfigChangesBySet, AreRefusedForALineThatIsTooLong) {
  const ConfiguredFile file(content);
  const Outcome outcome = file.run({"set", "usb:x", std::string(1100, 'x')});
  EXPECT_EQ(outcome.end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(file.content(), content);
}

TEST(QuorConfigChangesOfLongKeys, EndAt255Characters) {
  const ConfiguredFile file(content);
  const std::string longest = "usb:" + std::string(251, 'k');
  EXPECT_EQ(file.run({"set", longest, "1"}), done());
  EXPECT_EQ(file.get(longest), done("1\n"));
  for (const Arguments& arguments :
       {Arguments{"set", longest + "k", "2"}, {"get", longest + "k"}, {"unset", longest + "k"}}) {
    EXPECT_EQ(file.run(arguments), failed("a key of more than 255 characters: " + longest + "k"));
  }
  EXPECT_EQ(file.run({"unset", longest}), done());
}

TEST(QuorConfigChangesByAddSection, SaveNoNameThatWouldReadAsAnother) {
  const ConfiguredFile file(content);
  const Outcome outcome = file.run({"add-section", "a]b"});
  if (outcome == done()) {
    EXPECT_NE(file.run({"json"}).output.find("\"a]b\": {"), std::string::npos);
  } else {
    expectRefused(file, outcome);
  }
}

TEST(QuorConfigChangesByMerge, SetWhatTheOtherSets) {
  const ConfiguredFile file(content);
  const ConfiguredFile other("[usb]\nhid_only=0\ndebug=ctrl\n[empty]\n");
  EXPECT_EQ(file.run({"merge", other.path()}), done());
  EXPECT_EQ(file.run({"json"}),
            ConfiguredFile("[usb]\nhid_only=0\ndebug=ctrl\n[apps]\nx=program\n").run({"json"}));
  EXPECT_EQ(other.get("apps:x"), notFoundOrDifferent());
}

TEST(QuorConfigChangesByMerge, MakeAFileThatIsMissing) {
  const ConfiguredFile file;
  const ConfiguredFile other(content);
  EXPECT_EQ(file.run({"merge", other.path()}), done());
  EXPECT_EQ(file.run({"diff", other.path()}), done());
}

TEST(QuorConfigChangesByMerge, CopyNothingFromAFileThatCannotBeRead) {
  const ConfiguredFile file(content);
  const ConfiguredFile other("no setting\n");
  EXPECT_EQ(file.run({"merge", other.path()}).end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(file.content(), content);
}

}  // namespace
