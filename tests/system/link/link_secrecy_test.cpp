// Keys of the link go to generic workers and control clients, and nowhere else.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "sim/contract.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/made_up_devices.h"

namespace {

using support::acceptedClient;
using support::askForParameters;
using support::commandLine;

/** Every key that goes through the daemon contains this. */
constexpr const char* secret = "S3cret";

const std::string toClient = contract::debug::immediateSend("host 7000 full eth1 *** ***", 0);
const std::string answer = contract::debug::line(toClient.substr(0, toClient.size() - 1));

bool isSecret(const std::string& text) {
  return text.find(secret) != std::string::npos;
}

class LinkSecrecy : public support::DaemonFixture {
 protected:
  /** Takes a daemon with keys through everything that it does with keys, up to its end. */
  void workWithKeys(const std::string& log) {
    start(commandLine(
        {log, "--debug=ctrl,generic,keyboard,scsi", "--class=all", "--keys", "S3cretIn0", "S3cretOut0"}));
    attach(scanner("1-4"));
    for (const std::string& line : {std::string("host 7000 full eth1 S3cretIn S3cretOut"),
                                    std::string("host 7000 full eth1  S3cretOut3"),
                                    std::string("host 7000 full eth1 S3cretIn2 S3cretOut2 rest\n"),
                                    "host 7000 full eth1 " + std::string(200, 'k') + secret + " " + secret}) {
      send(line);
      askForParameters(unit);
    }
    attach(scanner("1-5"));
    unit.plug(named(isochronousDevice(), "1-6", "Speaker"));
    send("host badport full eth1 S3cretIn4 S3cretOut4");
    EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  }

  void expectNothingPrintedOrShown() {
    for (const std::string& write : unit.display.takeWrites()) {
      EXPECT_FALSE(isSecret(write)) << write;
    }
    EXPECT_FALSE(isSecret(unit.daemon().standardOutput()));
    EXPECT_FALSE(isSecret(unit.daemon().standardError())) << unit.daemon().standardError();
  }
};

TEST_F(LinkSecrecy, KeepsKeysFromStandardError) {
  workWithKeys("--stderr");

  EXPECT_TRUE(unit.daemon().hasLine(answer));
  expectNothingPrintedOrShown();
}

TEST_F(LinkSecrecy, KeepsKeysFromSyslog) {
  workWithKeys("--syslog");

  const std::vector<sim::SyslogMessage> messages = unit.syslog.takeMessages();
  EXPECT_TRUE(std::any_of(messages.begin(), messages.end(), [](const sim::SyslogMessage& message) {
    return message.text.starts_with(answer);
  }));
  for (const sim::SyslogMessage& message : messages) {
    EXPECT_FALSE(isSecret(message.raw)) << message.raw;
  }
  expectNothingPrintedOrShown();
}

TEST_F(LinkSecrecy, KeepsKeysFromKeyboardAndStorageWorkers) {
  start(commandLine({"--debug=ctrl", "--class=all", "--keys", "S3cretIn", "S3cretOut"}));
  for (const sim::WorkerStart& worker : {attachKeyboard().start, attachDisk().start}) {
    for (const std::string& argument : worker.arguments) {
      EXPECT_FALSE(isSecret(argument)) << argument;
    }
  }
}

TEST_F(LinkSecrecy, KeepsKeysFromASyslogThatHasTheNumberOfAnAnsweredClient) {
  std::filesystem::remove("/dev/log");
  unit.startDaemon(commandLine({"--syslog", "--debug=ctrl"}, {"transmitter", "0", "high"}));
  sim::LinkManager waiting = unit.connect();
  waiting.send("?");
  send("host 7000 full eth1 in out");
  askForParameters(unit);
  ASSERT_EQ(waiting.receiveAll(), "host 7000 full eth1 in out");

  sim::SyslogSink syslog;  // the next message opens it, under the lowest free number
  askForParameters(unit);
  syslog.waitForText(answer);
  send("host 7000 full eth1 S3cretIn S3cretOut");
  askForParameters(unit);

  for (const sim::SyslogMessage& message : syslog.takeMessages()) {
    EXPECT_FALSE(isSecret(message.raw)) << message.raw;
  }
  askForParameters(unit);
  syslog.waitForText(answer);  // nor was it closed
}

}  // namespace
