// Keys of the link go to generic workers and control clients, and nowhere else.

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>

#include "sim/contract.h"
#include "sim/error.h"
#include "sim/unix_socket.h"
#include "sim/wait.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/process_state.h"

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

/** A syslogd on a stream socket, which comes late: programs have found none so far. */
class StreamSyslog {
 public:
  StreamSyslog() {
    std::filesystem::remove("/dev/log");
    listener_ = sim::bindTo("/dev/log", SOCK_STREAM);
    if (::listen(listener_.get(), 1) != 0) {
      throw sim::systemError("listening for syslog messages");
    }
  }

  /** Everything that has come, once this is part of it. */
  const std::string& waitForText(const std::string& part) {
    while (received_.find(part) == std::string::npos) {
      const int readable = connection_.isOpen() ? connection_.get() : listener_.get();
      if (!sim::waitReadable(readable, {})) {
        throw sim::TimedOut("a syslog message with \"" + part + "\" after:\n" + received_);
      }
      connection_.isOpen() ? receive() : accept();
    }
    return received_;
  }

 private:
  void accept() { connection_ = sim::Descriptor(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)); }
  /** A connection that ends is followed by the next one. */
  void receive() {
    std::array<char, 4096> buffer{};
    const ssize_t length = ::recv(connection_.get(), buffer.data(), buffer.size(), 0);
    if (length <= 0) {
      connection_.close();
      return;
    }
    received_.append(buffer.data(), static_cast<std::size_t>(length));
  }

  sim::Descriptor listener_;
  sim::Descriptor connection_;
  std::string received_;
};

TEST_F(LinkSecrecy, KeepsKeysFromASyslogdWhoseConnectionHasTheNumberOfAClientThatWaited) {
  std::filesystem::remove("/dev/log");
  start(commandLine({"--syslog", "--debug=ctrl"}));
  support::waitUntilAsleep(unit.daemon().pid());  // it has no descriptor open to look for syslogd
  const sim::LinkManager first = support::acceptedClient(unit, "host 0 full eth1 S3cretIn S3cretOut");
  sim::LinkManager waiting = support::acceptedClient(unit, "?");
  const int number = unit.daemon().openDescriptors().back();
  send("host 7000 full eth1 S3cretIn S3cretOut");
  EXPECT_TRUE(isSecret(waiting.receiveAll()));

  StreamSyslog syslogd;
  unit.uevents.remove("/devices/one");
  syslogd.waitForText("remove /devices/one");
  EXPECT_TRUE(std::ranges::count(unit.daemon().openDescriptors(), number)) << "the connection's number";
  send("host 7000 full eth1 S3cretIn2 S3cretOut2");
  EXPECT_TRUE(isSecret(askForParameters(unit)));
  unit.uevents.remove("/devices/two");

  EXPECT_FALSE(isSecret(syslogd.waitForText("remove /devices/two"))) << "it got a line";
}

}  // namespace
