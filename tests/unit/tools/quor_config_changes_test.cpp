// The commands of quor_config that change the file, and what they refuse to write.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "unit/tools/quor_config_run.h"

namespace {

const std::string content = "[usb]\nhid_only=1\n[apps]\nx=program\n";

// Nothing is said on standard output, the fault is told, and the file keeps the content above.
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

TEST(QuorConfigSet, ChangesASetting) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"set", "usb:hid_only", "no"}), done());
  EXPECT_EQ(file.get("usb:hid_only"), done("no\n"));
  EXPECT_EQ(file.get("apps:x"), done("program\n"));
}

TEST(QuorConfigSet, AddsASettingWithItsSection) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"set", "link:speed", "very high"}), done());
  EXPECT_EQ(file.get("link:speed"), done("very high\n"));
  EXPECT_EQ(file.get("usb:hid_only"), done("1\n"));
}

TEST(QuorConfigSet, MakesAFileThatIsMissing) {
  const ConfiguredFile file;
  EXPECT_EQ(file.run({"set", "usb:debug", "ctrl"}), done());
  EXPECT_EQ(file.run({"json"}), done("{\n\t\"usb\": {\n\t\t\"debug\":\"ctrl\"\n\t}\n}\n"));
}

TEST(QuorConfigSet, SetsAnEmptyValue) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"set", "usb:hid_only", ""}), done());
  EXPECT_EQ(file.get("usb:hid_only"), done("\n"));
}

TEST(QuorConfigSet, KeepsThePermissions) {
  const ConfiguredFile file(content);
  const auto owners = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
  std::filesystem::permissions(file.path(), owners);
  EXPECT_EQ(file.run({"set", "usb:hid_only", "0"}), done());
  EXPECT_EQ(std::filesystem::status(file.path()).permissions(), owners);
}

TEST(QuorConfigSet, NeedsASection) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"set", "hid_only", "0"}), failed("not a section:key: hid_only"));
  EXPECT_EQ(file.content(), content);
}

TEST(QuorConfigSet, RefusesAKeyOfNoSectionOnAMissingFile) {
  const ConfiguredFile file;
  EXPECT_EQ(file.run({"set", "hid_only", "0"}), failed("not a section:key: hid_only"));
  EXPECT_FALSE(file.exists());
}

TEST(QuorConfigSet, SavesNoValueThatWouldReadAsAnother) {
  for (const char* value : {"a;b", "a#b", "#", ";", " a", "a ", "\"a\"", "'a'"}) {
    expectHeldOrRefused("usb:x", value);
  }
}

TEST(QuorConfigSet, SavesNoKeyThatWouldReadAsAnother) {
  for (const char* key : {"usb:a=b", "usb:#a", "us]b:a", ":a"}) {
    expectHeldOrRefused(key, "1");
  }
}

TEST(QuorConfigSet, NamesTheKeyThatIniTextCannotHold) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"set", "usb:a=b", "1"}), failed("nothing saved, INI text cannot hold this: usb:a=b"));
}

TEST(QuorConfigSet, RefusesMoreThanOneLine) {
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

TEST(QuorConfigSet, RefusesToTurnASectionIntoASetting) {
  const ConfiguredFile file("[a:b]\nc=2\n[a]\nz=3\n");
  EXPECT_EQ(file.run({"set", "usb:x", "1"}).end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(file.content(), "[a:b]\nc=2\n[a]\nz=3\n");
}

TEST(QuorConfigSet, TellsThatItsTextCannotBeCheckedFirst) {
  const std::string original = "[usb]\n" + std::string(500, '#') + "\nx=" + std::string(500, 'x') + "\n";
  const ConfiguredFile file(original);
  sim::ProcessOptions smallFiles;
  smallFiles.limits = {{RLIMIT_FSIZE, 400}};
  smallFiles.ignoredSignals = {SIGXFSZ};
  EXPECT_EQ(quorConfig({"--file", file.path(), "set", "usb:y", "1"}, smallFiles),
            failed("File too large: temporary file"));
  EXPECT_EQ(file.content(), original);
}

TEST(QuorConfig, RefusesKeysOfMoreThan255Characters) {
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

TEST(QuorConfigSet, RefusesALineThatIsTooLong) {
  const ConfiguredFile file(content);
  const Outcome outcome = file.run({"set", "usb:x", std::string(1100, 'x')});
  EXPECT_EQ(outcome.end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(file.content(), content);
}

TEST(QuorConfigUnset, RemovesASetting) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"unset", "USB:hid_only"}), done());
  EXPECT_EQ(file.get("usb:hid_only"), notFoundOrDifferent());
  EXPECT_EQ(file.get("apps:x"), done("program\n"));
}

TEST(QuorConfigUnset, RemovesASectionWithoutSettings) {
  const ConfiguredFile file("[empty]\n" + content);
  EXPECT_EQ(file.run({"unset", "empty"}), done());
  EXPECT_EQ(file.content().find("empty"), std::string::npos);
  EXPECT_EQ(file.get("usb:hid_only"), done("1\n"));
}

TEST(QuorConfigUnset, RefusesASectionThatHasSettings) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"unset", "usb"}), failed("nothing saved, INI text cannot hold this: usb:hid_only"));
  EXPECT_EQ(file.content(), content);
}

TEST(QuorConfigUnset, FindsNothingToRemove) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"unset", "usb:debug"}), notFoundOrDifferent());
  EXPECT_EQ(file.run({"unset", "link"}), notFoundOrDifferent());
  EXPECT_EQ(file.content(), content);
}

TEST(QuorConfigAddSection, AddsAnEmptySection) {
  const ConfiguredFile file("[usb]\nx=1\n");
  EXPECT_EQ(file.run({"add-section", "link"}), done());
  EXPECT_EQ(file.run({"json"}), done("{\n\t\"usb\": {\n\t\t\"x\":\"1\"\n\t},\n\t\"link\": {\n\n\t}\n}\n"));
}

TEST(QuorConfigAddSection, MakesAFileThatIsMissing) {
  const ConfiguredFile file;
  EXPECT_EQ(file.run({"add-section", "link"}), done());
  EXPECT_EQ(file.run({"json"}), done("{\n\t\"link\": {\n\n\t}\n}\n"));
}

TEST(QuorConfigAddSection, RefusesANameWithAColon) {
  const ConfiguredFile file(content);
  EXPECT_EQ(file.run({"add-section", "usb:x"}), failed("not a section's name: usb:x"));
  EXPECT_EQ(file.content(), content);
}

TEST(QuorConfigAddSection, SavesNoNameThatWouldReadAsAnother) {
  const ConfiguredFile file(content);
  const Outcome outcome = file.run({"add-section", "a]b"});
  if (outcome == done()) {
    EXPECT_NE(file.run({"json"}).output.find("\"a]b\": {"), std::string::npos);
  } else {
    expectRefused(file, outcome);
  }
}

TEST(QuorConfigMerge, SetsWhatTheOtherSets) {
  const ConfiguredFile file(content);
  const ConfiguredFile other("[usb]\nhid_only=0\ndebug=ctrl\n[empty]\n");
  EXPECT_EQ(file.run({"merge", other.path()}), done());
  EXPECT_EQ(file.run({"json"}), done("{\n"
                                     "\t\"usb\": {\n\t\t\"hid_only\":\"0\",\n\t\t\"debug\":\"ctrl\"\n\t},\n"
                                     "\t\"apps\": {\n\t\t\"x\":\"program\"\n\t}\n"
                                     "}\n"));
  EXPECT_EQ(other.get("apps:x"), notFoundOrDifferent());
}

TEST(QuorConfigMerge, MakesAFileThatIsMissing) {
  const ConfiguredFile file;
  const ConfiguredFile other(content);
  EXPECT_EQ(file.run({"merge", other.path()}), done());
  EXPECT_EQ(file.run({"diff", other.path()}), done());
}

TEST(QuorConfigMerge, TakesNothingOverFromAFileItCannotRead) {
  const ConfiguredFile file(content);
  const ConfiguredFile other("no setting\n");
  EXPECT_EQ(file.run({"merge", other.path()}).end, sim::ProcessEnd::exited(2));
  EXPECT_EQ(file.content(), content);
}

}  // namespace
