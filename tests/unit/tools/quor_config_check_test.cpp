// What quor_config reports of a configuration that the daemon would not read as meant.

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "sim/files.h"
#include "sim/program.h"
#include "support/child.h"
#include "unit/tools/quor_config_run.h"

namespace {

Outcome checked(const std::string& content) {
  return ConfiguredFile(content).run({"check"});
}

/** The values of a key that are good and those that are not what they should be. */
struct Rule {
  std::string key;
  std::string meaning;
  std::vector<std::string> good;
  std::vector<std::string> bad;
};

const std::string flag = "yes or no";

const std::vector<Rule> rules = {
    {"hid_only", flag, {"1", "true", "Yes", "0", "false", "No"}, {"2", "off", "-", "enabled", "on", ""}},
    {"block_mass_storage", flag, {"1", "no"}, {"on"}},
    {"smartcard", flag, {"1", "no"}, {"on"}},
    {"isochronous_enabled", flag, {"1", "no"}, {"on"}},
    {"isochronous_user_warning", flag, {"1", "no"}, {"on"}},
    {"connect_fail_timeout",
     "a whole number of seconds up to 1073741823",
     {"0", "1", "1073741823"},
     {"-1", "1.5", "3s", "three", "1073741824", "99999999999", "0x10", ""}},
    {"log_to_syslog",
     "looked at (it switches on whatever its value)",
     {"", "1", "yes", "whatever"},
     {"0", "false", "No"}},
    {"debug",
     "a list of none, ctrl, generic, keyboard, scsi",
     {"none", "ctrl,generic,keyboard,scsi", "scsi", ""},
     {"all", "ctrl,bogus", "ctrl, scsi", "ctrl,,scsi", "CTRL"}},
    {"classes",
     "a list of none, keyboard, scsi, all",
     {"none", "keyboard,scsi", "all", ""},
     {"generic", "keyboard,mouse", "Keyboard"}},
};

std::ostream& operator<<(std::ostream& out, const Rule& rule) {
  return out << rule.key;
}

class QuorConfigCheckOfKey : public testing::TestWithParam<Rule> {};

INSTANTIATE_TEST_SUITE_P(Usb, QuorConfigCheckOfKey, testing::ValuesIn(rules),
                         [](const auto& instance) { return instance.param.key; });

TEST_P(QuorConfigCheckOfKey, KnowsGoodAndBadValues) {
  const Rule& rule = GetParam();
  for (const std::string& value : rule.good) {
    EXPECT_EQ(checked("[usb]\n" + rule.key + "=" + value + "\n"), done()) << value;
  }
  for (const std::string& value : rule.bad) {
    EXPECT_EQ(checked("[usb]\n" + rule.key + "=" + value + "\n"),
              notFoundOrDifferent("not " + rule.meaning + ": usb:" + rule.key + " = " + value + "\n"));
  }
}

TEST(QuorConfigCheck, FindsNoFaultInAGoodFile) {
  EXPECT_EQ(checked("[usb]\n"
                    "debug=ctrl,generic\n"
                    "classes=keyboard,scsi\n"
                    "log_to_syslog=whatever\n"
                    "connect_fail_timeout=30\n"
                    "hid_only=yes\n"
                    "block_mass_storage=No\n"
                    "smartcard=1\n"
                    "isochronous_enabled=false\n"
                    "isochronous_user_warning=T\n"
                    "[apps]\n"
                    "quor_usb_rx_generic=/bin/sh\n"),
            done());
}

TEST(QuorConfigCheck, FindsNoFaultInAnEmptyFile) {
  EXPECT_EQ(checked(""), done());
  EXPECT_EQ(checked("[usb]\n[link]\n"), done());
}

TEST(QuorConfigCheck, NamesUnknownKeysOfTheDaemonsSection) {
  EXPECT_EQ(checked("[usb]\nhidonly=1\n"), notFoundOrDifferent("unknown key: usb:hidonly = 1\n"));
}

const std::string ofOtherPrograms =
    "[apps]\nviewer=/bin/no_viewer\n[usbip]\nhid_only=sometimes\n[network]\nspeed=full\n";

TEST(QuorConfigCheck, LeavesKeysOfOtherProgramsAlone) {
  EXPECT_EQ(checked(ofOtherPrograms), done());
  EXPECT_EQ(checked(ofOtherPrograms + "[usb]\nhid_only=sometimes\n"),
            notFoundOrDifferent("not yes or no: usb:hid_only = sometimes\n"));
}

TEST(QuorConfigCheck, NamesKeysOfOtherProgramsTooWhereItShallJudgeAll) {
  EXPECT_EQ(ConfiguredFile(ofOtherPrograms + "[usb]\nhidonly=1\nsmartcard=2\n").run({"check", "--all"}),
            notFoundOrDifferent("unknown key: apps:viewer = /bin/no_viewer\n"
                                "unknown key: usbip:hid_only = sometimes\n"
                                "unknown key: network:speed = full\n"
                                "unknown key: usb:hidonly = 1\n"
                                "not yes or no: usb:smartcard = 2\n"));
  EXPECT_EQ(ConfiguredFile("[usb]\nsmartcard=1\n").run({"check", "--all"}), done());
}

TEST(QuorConfigCheck, KnowsKeysInAnyCase) {
  EXPECT_EQ(checked("[USB]\nHID_Only=1\n"), done());
}

TEST(QuorConfigCheck, NeedsAProgramForTheGenericWorker) {
  EXPECT_EQ(checked("[apps]\nquor_usb_rx_generic=\n"),
            notFoundOrDifferent("not a program: apps:quor_usb_rx_generic = \n"));
}

// The daemon refuses a bad list before it looks at its port, which is bad here.
bool daemonTakes(const std::string& option) {
  Arguments command = sim::commandOf("SIM_DAEMON", DAEMON_PROGRAM);
  command.insert(command.end(), {option, "host", "no port", "high"});
  const Outcome outcome = runProgram(command);
  return outcome.errors.find("Invalid debug option") == std::string::npos;
}

TEST(QuorConfigCheck, TakesTheListsThatTheDaemonTakes) {
  support::inPrivateWorld([] {
    for (const std::string item : {"", "none", "ctrl", "generic", "keyboard", "scsi", "all", "usb"}) {
      EXPECT_EQ(checked("[usb]\ndebug=" + item + "\n") == done(), daemonTakes("--debug=" + item)) << item;
      EXPECT_EQ(checked("[usb]\nclasses=" + item + "\n") == done(), daemonTakes("--class=" + item)) << item;
    }
  });
}

TEST(QuorConfigCheck, NamesEveryFaultInOrder) {
  EXPECT_EQ(checked("[usb]\nsmartcard=maybe\nfrob=1\nhid_only=1\ndebug=usb\n"),
            notFoundOrDifferent("not yes or no: usb:smartcard = maybe\n"
                                "unknown key: usb:frob = 1\n"
                                "not a list of none, ctrl, generic, keyboard, scsi: usb:debug = usb\n"));
}

TEST(QuorConfigCheck, NamesAMissingFile) {
  const ConfiguredFile file;
  EXPECT_EQ(file.run({"check"}), notFoundOrDifferent("missing: " + file.path() + "\n"));
  EXPECT_FALSE(file.exists());
}

TEST(QuorConfigCheck, ChecksTheUnitsConfigurationByItself) {
  support::inPrivateWorld([] {
    EXPECT_EQ(quorConfig({"check"}), notFoundOrDifferent("missing: /vel/quor.conf\n"));
    sim::writeFile("/vel/quor.conf", "[usb]\nhid_only=1\n");
    EXPECT_EQ(quorConfig({"check"}), done());
  });
}

}  // namespace
