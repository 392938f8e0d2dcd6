// A configuration that is there but cannot be loaded: the defaults apply, and the daemon says so.

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"

namespace {

using support::commandLine;
using support::joined;
using support::Lines;
using support::scanner;

constexpr int userError = 8 + 3;

const std::string path = contract::configurationPath;
const std::string report = contract::error::cannotLoadConfig(path);
const std::string refusing = "[usb]\nhid_only = 1\n";

const std::string firstComplaint = "iniparser: syntax error in " + path + " (3):\n-> nonsense";
const std::string secondComplaint = "iniparser: syntax error in " + path + " (5):\n-> more nonsense";
const std::string badLines = refusing + "nonsense\nsmartcard = 1\nmore nonsense\n";
const std::string complaints = firstComplaint + "\n" + secondComplaint + "\n";

std::string textOf(const Lines& messages) {
  std::string text;
  for (const std::string& message : messages) {
    text += message + "\n";
  }
  return text;
}

class UnloadableConfiguration : public support::DaemonFixture {
 protected:
  /** The rule of `refusing` does not hold. */
  void expectDefaults() {
    sim::Worker& worker = attach(scanner());
    EXPECT_EQ(worker.start.arguments, support::genericWorker(scanner().directory()));
    detachAndEnd(worker);
    waitUntilForgotten(worker);
  }

  void reload() {
    unit.daemon().signal(SIGHUP);
    expectDefaults();
  }

  void expectErrorsInSyslog(const Lines& texts) {
    for (const std::string& text : texts) {
      const sim::SyslogMessage message = unit.syslog.waitForMessage();
      EXPECT_EQ(message.text, text);
      EXPECT_EQ(message.priority, userError);
    }
  }
};

TEST_F(UnloadableConfiguration, IsReportedAtTheStartAndAtEachReload) {
  unit.writeConfig(badLines);
  sim::Daemon& daemon = start(commandLine({}));
  EXPECT_EQ(textOf(daemon.messages()), complaints + report + "\n");

  expectDefaults();
  reload();
  reload();

  EXPECT_EQ(textOf(daemon.messages()),
            complaints + report + "\n" + complaints + report + "\n" + complaints + report + "\n");
  EXPECT_EQ(daemon.standardOutput(), "");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
}

TEST_F(UnloadableConfiguration, IsReportedAtAReloadOfOneThatWasLoaded) {
  unit.writeConfig("[usb]\nsmartcard = 0\n");
  sim::Daemon& daemon = start(commandLine({}));
  expectDefaults();
  EXPECT_EQ(daemon.standardError(), "");

  unit.writeConfig(refusing + "nonsense\n");
  reload();
  EXPECT_EQ(textOf(daemon.messages()), firstComplaint + "\n" + report + "\n");

  unit.writeConfig("[usb]\nsmartcard = 0\n");
  reload();
  EXPECT_EQ(textOf(daemon.messages()), firstComplaint + "\n" + report + "\n");
}

TEST_F(UnloadableConfiguration, IsReportedToSyslogWithEachComplaint) {
  unit.writeConfig("[usb]\nsmartcard = 0\n");
  sim::Daemon& daemon = start(commandLine({"--syslog"}));
  expectDefaults();
  EXPECT_TRUE(unit.syslog.takeMessages().empty());

  unit.writeConfig(badLines);
  for (int i = 0; i < 2; ++i) {
    reload();
    expectErrorsInSyslog({firstComplaint, secondComplaint, report});
  }

  EXPECT_TRUE(unit.syslog.takeMessages().empty());
  EXPECT_EQ(daemon.standardError(), complaints + complaints) << "where the complaints have always been";
}

TEST_F(UnloadableConfiguration, IsReportedToSyslogAtTheStart) {
  unit.writeConfig(badLines);
  sim::Daemon& daemon = start(commandLine({"--syslog"}));

  expectErrorsInSyslog({firstComplaint, secondComplaint, report});
  EXPECT_EQ(daemon.standardError(), complaints);
}

struct Obstacle : support::NamedCase {
  void (*make)();
};

void makeDirectory() {
  std::filesystem::create_directory(path);
}
void makeLinkToItself() {
  std::filesystem::create_symlink(path, path);
}
void makeUnreadable() {
  std::filesystem::create_symlink("/proc/self/mem", path);  // its first byte cannot be read
}

const std::vector<Obstacle> obstacles = {
    {"Directory", makeDirectory},
    {"LinkToItself", makeLinkToItself},
    {"FailingRead", makeUnreadable},
};

class UnloadableConfigurationBy : public UnloadableConfiguration,
                                  public testing::WithParamInterface<Obstacle> {};

TEST_P(UnloadableConfigurationBy, AnObstacleIsReportedAtTheStartAndAtAReload) {
  GetParam().make();
  sim::Daemon& daemon = start(commandLine({}));
  EXPECT_EQ(textOf(daemon.messages()), report + "\n");

  reload();

  EXPECT_EQ(textOf(daemon.messages()), report + "\n" + report + "\n");
}

INSTANTIATE_TEST_SUITE_P(Of, UnloadableConfigurationBy, testing::ValuesIn(obstacles),
                         testing::PrintToStringParamName());

TEST_F(UnloadableConfiguration, IsNotOneThatIsMissing) {
  std::filesystem::create_symlink("/missing/quor.conf", path);
  sim::Daemon& daemon = start(commandLine({}));
  reload();

  EXPECT_EQ(daemon.standardError(), "");
  EXPECT_EQ(daemon.standardOutput(),
            contract::error::cannotOpenConfig(path) + contract::error::cannotOpenConfig(path));
}

}  // namespace
