#include "examples/usbip/exchange/log.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <string>
#include <utility>
#include <vector>

#include "sim/namespaces.h"
#include "sim/syslog_sink.h"
#include "support/output.h"

namespace {

using support::Lines;
using usbip::Log;
using usbip::LogDestination;

void logOneLineOfEachKind(const Log& log) {
  log.print("is exported");
  log.debug("connects");
  log.error("is lost");
}

TEST(LogToStandardError, WritesEachLineBehindTheProgramsNameInOneWrite) {
  const support::CapturedStandardError captured;
  logOneLineOfEachKind(Log("usb_rx_usbip", LogDestination::standardError, true));
  EXPECT_EQ(captured.writes(),
            (Lines{"usb_rx_usbip: is exported\n", "usb_rx_usbip: connects\n", "usb_rx_usbip: is lost\n"}));
}

TEST(LogToStandardError, HasNoDebugLinesUnlessDebuggingIsOn) {
  const support::CapturedStandardError captured;
  logOneLineOfEachKind(Log("usb_rx_usbip", LogDestination::standardError, false));
  EXPECT_EQ(captured.writes(), (Lines{"usb_rx_usbip: is exported\n", "usb_rx_usbip: is lost\n"}));
}

TEST(LogToStandardError, LosesLinesThatNobodyReadsAnyMore) {
  support::PacketPipe pipe;
  const support::ReplacedStandardError replaced(pipe.writeEnd());
  const Log log("usb_rx_usbip", LogDestination::standardError, true);
  pipe.closeReadEnd();
  logOneLineOfEachKind(log);
}

class LogToSyslog : public testing::Test {
 protected:
  [[nodiscard]] sim::SyslogMessage next() { return sink_.waitForMessage(); }

  support::CapturedStandardError standardError;

 private:
  sim::Namespaces world_;
  sim::SyslogSink sink_;
};

TEST_F(LogToSyslog, SendsEachLineAsTheDaemonFacilityWithItsSeverity) {
  logOneLineOfEachKind(Log("usb_tx_usbip", LogDestination::syslog, true));
  for (const auto& [text, severity] : std::vector<std::pair<std::string, int>>{
           {"is exported", LOG_INFO}, {"connects", LOG_DEBUG}, {"is lost", LOG_ERR}}) {
    const sim::SyslogMessage message = next();
    EXPECT_EQ(message.text, text);
    EXPECT_EQ(message.priority, LOG_DAEMON | severity) << text;
    EXPECT_EQ(message.tag.substr(0, message.tag.find('[')), "usb_tx_usbip");
  }
  EXPECT_EQ(standardError.writes(), Lines{});
}

TEST_F(LogToSyslog, HasNoDebugLinesUnlessDebuggingIsOn) {
  logOneLineOfEachKind(Log("usb_tx_usbip", LogDestination::syslog, false));
  EXPECT_EQ(next().text, "is exported");
  EXPECT_EQ(next().text, "is lost");
}

TEST_F(LogToSyslog, TakesALineForNoFormat) {
  Log("usb_tx_usbip", LogDestination::syslog, false).print("100%s %n");
  EXPECT_EQ(next().text, "100%s %n");
}

}  // namespace
