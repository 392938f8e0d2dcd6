// Keys of the link go to generic workers and control clients, and nowhere else.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "sim/contract.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"

namespace {

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
    attach(support::scanner("1-4"));
    for (const std::string& line : {std::string("host 7000 full eth1 S3cretIn S3cretOut"),
                                    std::string("host 7000 full eth1  S3cretOut3"),
                                    std::string("host 7000 full eth1 S3cretIn2 S3cretOut2 rest\n"),
                                    "host 7000 full eth1 " + std::string(200, 'k') + secret + " " + secret}) {
      send(line);
      askForParameters(unit);
    }
    attach(support::scanner("1-5"));
    unit.plug(support::named(support::isochronousDevice(), "1-6", "Speaker"));
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

}  // namespace
