// What quor_config says of a configuration that the daemon would not read as meant.

#include <gtest/gtest.h>

#include <string>

#include "sim/files.h"
#include "sim/program.h"
#include "support/child.h"
#include "unit/tools/quor_config_run.h"

namespace {

Outcome checked(const std::string& content) {
  return ConfiguredFile(content).run({"check"});
}

void expectGood(const std::string& key, const std::string& value) {
  EXPECT_EQ(checked("[usb]\n" + key + "=" + value + "\n"), done()) << key << " = " << value;
}

void expectNot(const std::string& meaning, const std::string& key, const std::string& value) {
  EXPECT_EQ(checked("[usb]\n" + key + "=" + value + "\n"),
            notFoundOrDifferent("not " + meaning + ": usb:" + key + " = " + value + "\n"));
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
                    "quor_usb_rx_generic=/bin/worker\n"),
            done());
}

TEST(QuorConfigCheck, FindsNoFaultInAnEmptyFile) {
  EXPECT_EQ(checked(""), done());
  EXPECT_EQ(checked("[usb]\n[link]\n"), done());
}

TEST(QuorConfigCheck, NamesUnknownKeys) {
  EXPECT_EQ(checked("[usb]\nhidonly=1\n[apps]\nhid_only=1\n"),
            notFoundOrDifferent("unknown key: usb:hidonly = 1\nunknown key: apps:hid_only = 1\n"));
}

TEST(QuorConfigCheck, KnowsKeysInAnyCase) {
  EXPECT_EQ(checked("[USB]\nHID_Only=1\n"), done());
}

TEST(QuorConfigCheck, TakesFlagsByTheirFirstCharacter) {
  for (const char* flag :
       {"hid_only", "block_mass_storage", "smartcard", "isochronous_enabled", "isochronous_user_warning"}) {
    expectNot("yes or no", flag, "on");
  }
  for (const char* value : {"1", "true", "Yes", "0", "false", "No"}) {
    expectGood("hid_only", value);
  }
  for (const char* value : {"2", "off", "-", "enabled"}) {
    expectNot("yes or no", "hid_only", value);
  }
  expectNot("yes or no", "hid_only", "");
}

TEST(QuorConfigCheck, TakesSecondsInWholeNumbers) {
  for (const char* value : {"0", "1", "1073741823"}) {
    expectGood("connect_fail_timeout", value);
  }
  for (const char* value : {"-1", "1.5", "3s", "three", "1073741824", "99999999999", "0x10"}) {
    expectNot("a whole number of seconds up to 1073741823", "connect_fail_timeout", value);
  }
  expectNot("a whole number of seconds up to 1073741823", "connect_fail_timeout", "");
}

TEST(QuorConfigCheck, NeedsAProgramForTheGenericWorker) {
  EXPECT_EQ(checked("[apps]\nquor_usb_rx_generic=\n"),
            notFoundOrDifferent("not a program: apps:quor_usb_rx_generic = \n"));
}

TEST(QuorConfigCheck, KnowsThatSyslogCannotBeDenied) {
  for (const char* value : {"", "1", "yes", "whatever"}) {
    expectGood("log_to_syslog", value);
  }
  for (const char* value : {"0", "false", "No"}) {
    expectNot("looked at (it switches on whatever its value)", "log_to_syslog", value);
  }
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

TEST(QuorConfigCheck, KnowsWhoCanDebug) {
  const std::string meaning = "a list of none, ctrl, generic, keyboard, scsi";
  for (const char* value : {"none", "ctrl,generic,keyboard,scsi", "scsi", ""}) {
    expectGood("debug", value);
  }
  for (const char* value : {"all", "ctrl,bogus", "ctrl, scsi", "ctrl,,scsi", "CTRL"}) {
    expectNot(meaning, "debug", value);
  }
}

TEST(QuorConfigCheck, KnowsTheClasses) {
  const std::string meaning = "a list of none, keyboard, scsi, all";
  for (const char* value : {"none", "keyboard,scsi", "all", ""}) {
    expectGood("classes", value);
  }
  for (const char* value : {"generic", "keyboard,mouse", "Keyboard"}) {
    expectNot(meaning, "classes", value);
  }
}

TEST(QuorConfigCheck, NamesEveryFaultInOrder) {
  EXPECT_EQ(checked("[usb]\nsmartcard=maybe\nfrob=1\nhid_only=1\ndebug=usb\n"),
            notFoundOrDifferent("not yes or no: usb:smartcard = maybe\n"
                                "unknown key: usb:frob = 1\n"
                                "not a list of none, ctrl, generic, keyboard, scsi: usb:debug = usb\n"));
}

TEST(QuorConfigCheck, TellsThatTheFileIsMissing) {
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
