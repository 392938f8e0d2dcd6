#include <gtest/gtest.h>

#include <filesystem>

#include "system/support/control_messages.h"
#include "system/support/eventually.h"
#include "system/support/worker_launch.h"

namespace {

/** Every key that goes through the daemon contains this. */
constexpr const char* secret = "S3cret";

class ControlSecrecy : public WorkerLaunch {
 protected:
  /** Takes the daemon through everything that it does with keys, up to its end. */
  void workWithKeys() {
    const sim::LinkManager first = deliver(unit, "host 7000 full eth1 S3cretIn S3cretOut");
    genericWorker();
    const sim::LinkManager second = deliver(unit, "host 7000 full eth1 S3cretIn2 S3cretOut2 rest\n");
    const sim::LinkManager third = deliver(unit, "host 7000 full eth1  S3cretOut3");
    const sim::LinkManager fourth =
        deliver(unit, "host 7000 full eth1 " + std::string(200, 'k') + secret + " " + secret);
    genericWorker("1-5");
    unit.plug(named(isochronousDevice(), "1-6", "Speaker"));
    unit.connect().send("host badport full eth1 S3cretIn4 S3cretOut4");
    EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  }

  void expectNothingShown() {
    for (const std::string& write : unit.display.takeWrites()) {
      EXPECT_EQ(write.find(secret), std::string::npos) << write;
    }
    EXPECT_EQ(unit.daemon().standardOutput().find(secret), std::string::npos);
    EXPECT_EQ(unit.daemon().standardError().find(secret), std::string::npos) << unit.daemon().standardError();
  }
};

}  // namespace

TEST_F(ControlSecrecy, KeysAreNeverOnStandardError) {
  startWith({"--debug=ctrl,generic,keyboard,scsi", "--keys", "S3cretIn0", "S3cretOut0"});
  genericWorker("1-4");
  workWithKeys();
  EXPECT_TRUE(unit.daemon().hasLine("immediate send host 7000"));
  expectNothingShown();
}

TEST_F(ControlSecrecy, KeysAreNeverInSyslog) {
  startWith({"--syslog", "--debug=ctrl,generic,keyboard,scsi", "--keys", "S3cretIn0", "S3cretOut0"});
  genericWorker("1-4");
  workWithKeys();
  bool sent = false;
  for (const sim::SyslogMessage& message : unit.syslog.takeMessages()) {
    EXPECT_EQ(message.raw.find(secret), std::string::npos) << message.raw;
    sent = sent || message.text.find("immediate send host 7000") != std::string::npos;
  }
  EXPECT_TRUE(sent);
  expectNothingShown();
}

TEST_F(ControlSecrecy, KeysAreHiddenOneByOneInTheLogOfAQuery) {
  startWith({"--debug=ctrl"});
  const sim::LinkManager manager = deliver(unit, "host 7000 full eth1  S3cretOut");
  askForParameters(unit);
  EXPECT_TRUE(unit.daemon().hasLine("[rx_ctrl] immediate send host 7000 full eth1 *** *** to "));
}

TEST_F(ControlSecrecy, ALineWithoutKeysIsLoggedAsItCame) {
  startWith({"--debug=ctrl"});
  const sim::LinkManager manager = deliver(unit, "host 7000 full eth1");
  askForParameters(unit);
  EXPECT_TRUE(unit.daemon().hasLine("[rx_ctrl] immediate send host 7000 full eth1 to "));
}

TEST_F(ControlSecrecy, KeysReachNoWorkerButTheGenericOne) {
  startWith({"--keys", "S3cretIn", "S3cretOut"});
  for (const sim::WorkerStart& worker : {keyboardWorker().start, scsiWorker().start}) {
    for (const std::string& argument : worker.arguments) {
      EXPECT_EQ(argument.find(secret), std::string::npos) << argument;
    }
  }
}

TEST_F(ControlSecrecy, KeysDoNotGoToASyslogThatHasTheNumberOfAnAnsweredClient) {
  std::filesystem::remove("/dev/log");
  unit.startDaemon({"--syslog", "--debug=ctrl", "transmitter", "0", "high"});
  sim::LinkManager waiting = unit.connect();
  waiting.send("?");
  const sim::LinkManager first = deliver(unit, "host 7000 full eth1 in out");
  ASSERT_EQ(waiting.receiveAll(), "host 7000 full eth1 in out");

  sim::SyslogSink syslog;  // the next message opens it, under the lowest free number
  askForParameters(unit);
  syslog.waitForText("immediate send");
  const sim::LinkManager second = deliver(unit, "host 7000 full eth1 S3cretIn S3cretOut");
  for (const sim::SyslogMessage& message : syslog.takeMessages()) {
    EXPECT_EQ(message.raw.find(secret), std::string::npos) << message.raw;
  }
  askForParameters(unit);
  syslog.waitForText("immediate send");  // nor was it closed
}
