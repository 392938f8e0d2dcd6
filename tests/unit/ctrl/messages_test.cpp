#include "ctrl/messages.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <stdexcept>
#include <string>

#include "ctrl/settings.h"
#include "sim/descriptor.h"
#include "sim/unix_socket.h"
#include "support/child.h"
#include "support/output.h"
#include "support/private_world.h"
#include "support/restored_settings.h"

namespace {

using support::Lines;

double systemSeconds() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

TEST(MessagesTime, IsInSecondsSinceTheEpochToTheMicrosecond) {
  constexpr double microsecond = 2e-6;  // and the rounding of such large numbers
  const double before = systemSeconds();
  const double now = timestampNow();
  EXPECT_GE(now, before - microsecond);
  EXPECT_LE(now, systemSeconds() + microsecond);
}

TEST(MessagesTime, IsShownModuloAHundredSecondsWithMillisecondsInSixCharacters) {
  EXPECT_EQ(timePrefix(1'700'000'123.4567), "23.457: ");
  EXPECT_EQ(timePrefix(63.004), "63.004: ");
  EXPECT_EQ(timePrefix(12.345), "12.345: ");
  EXPECT_EQ(timePrefix(199.5), "99.500: ");
  EXPECT_EQ(timePrefix(7.125), " 7.125: ");
  EXPECT_EQ(timePrefix(0.0), " 0.000: ");
  EXPECT_EQ(timePrefix(1'700'000'000.0), " 0.000: ");
  EXPECT_EQ(timePrefix(99.9996), "100.000: ") << "rounded behind the hundred";
}

class MessagesToStandardError : public testing::Test {
 private:
  support::RestoredSettings settings_;
};

// What one write consists of behind the digits of its time.
std::string textOf(const Lines& writes) {
  EXPECT_EQ(writes.size(), 1U);
  return writes.empty() ? "" : writes.front().substr(6);
}

TEST_F(MessagesToStandardError, AreTimeTagAndTextInOneWrite) {
  const support::CapturedStandardError captured;
  DebugMessage("[rx_ctrl] ") << "starting " << std::string("worker") << ' ' << 12 << " at " << 2.5;
  EXPECT_EQ(textOf(captured.writes()), ": [rx_ctrl] starting worker 12 at 2.5\n");
  ErrorMessage("bind() has failed") << ", really";
  EXPECT_EQ(textOf(captured.writes()), ": bind() has failed, really\n");
  logError("two\nlines\n");
  EXPECT_EQ(textOf(captured.writes()), ": two\nlines\n\n") << "with a newline of its own";
}

TEST_F(MessagesToStandardError, AreLoggedByTheDaemonOnlyWhereDebuggingIsOn) {
  const auto logging = [] { logDebug("worker ", 12, " of ", std::string("device")); };
  EXPECT_EQ(support::logDuring(logging), Lines{});
  EXPECT_EQ(support::debugLogDuring(logging), Lines{"[rx_ctrl] worker 12 of device"});
  EXPECT_EQ(support::logDuring([] { DebugMessage("[rx_ctrl] ") << "text"; }), Lines{"[rx_ctrl] text"})
      << "the message itself does not look";
}

[[noreturn]] const char* failToSay() {
  throw std::runtime_error("cannot say");
}

TEST_F(MessagesToStandardError, AreWrittenAtTheirEndWhichMayBeAnException) {
  const support::CapturedStandardError captured;
  {
    DebugMessage message("[rx_ctrl] ");
    message << "text";
    EXPECT_EQ(captured.writes(), Lines{});
  }
  EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl] text"});
  EXPECT_THROW(DebugMessage("[rx_ctrl] ") << "so far" << failToSay(), std::runtime_error);
  EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl] so far"});
}

TEST_F(MessagesToStandardError, ShowTheTimeOfTheirBeginning) {
  const support::CapturedStandardError captured;
  constexpr double millisecond = 0.001;
  const double before = timestampNow();
  double after = 0.0;
  {
    const DebugMessage message("[rx_ctrl] ");
    after = timestampNow();
    while (timestampNow() < after + 20 * millisecond) {
    }
  }
  const double shown = std::stod(captured.writes().at(0));
  // Of the shown time only what is left of a hundred seconds is known.
  const double sinceBefore = std::fmod(shown + 100.0 - std::fmod(before, 100.0) + millisecond, 100.0);
  EXPECT_LE(sinceBefore, after - before + 2 * millisecond);
}

void logInVain() {
  DebugMessage("[rx_ctrl] ") << "lost";
  ErrorMessage("lost");
}

TEST_F(MessagesToStandardError, AreNoErrorWhereTheReaderHasGoneOrTheDiskIsFull) {
  const sim::Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  const support::ReplacedStandardError toFullDisk(full.get());
  EXPECT_NO_THROW(logInVain());
  support::inChild([] {
    std::signal(SIGPIPE, SIG_IGN);
    support::PacketPipe pipe;
    pipe.closeReadEnd();
    const support::ReplacedStandardError toNoReader(pipe.writeEnd());
    EXPECT_NO_THROW(logInVain());
  });
}

// For the signal handler: the third signal lets the reader read.
const support::PacketPipe* slowReader = nullptr;
volatile std::sig_atomic_t signalsLeft = 3;

void onAlarm(int /*signal*/) {
  signalsLeft = signalsLeft - 1;
  if (signalsLeft == 0) {
    char byte = 0;
    while (read(slowReader->readEnd(), &byte, 1) > 0) {
    }
  }
}

void fill(int pipe) {
  fcntl(pipe, F_SETFL, O_DIRECT | O_NONBLOCK);
  while (write(pipe, "x", 1) == 1) {
  }
  fcntl(pipe, F_SETFL, O_DIRECT);
}

TEST_F(MessagesToStandardError, AreNotLostToSignalsWhileTheyWaitForTheirReader) {
  support::inChild([] {
    const support::PacketPipe pipe;
    // cppcheck-suppress danglingLifetime
    slowReader = &pipe;
    fill(pipe.writeEnd());
    const support::ReplacedStandardError replaced(pipe.writeEnd());
    struct sigaction action {};
    action.sa_handler = onAlarm;
    sigaction(SIGALRM, &action, nullptr);
    const itimerval every5Milliseconds{.it_interval = {0, 5000}, .it_value = {0, 5000}};
    setitimer(ITIMER_REAL, &every5Milliseconds, nullptr);
    ErrorMessage("kept");
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_EQ(textOf(pipe.writes()), ": kept\n");
  });
}

/** A logger stands where the system's does. */
class MessagesToSyslog : public support::PrivateWorld {
 protected:
  MessagesToSyslog() { settings.logToSyslog = true; }

  /** The messages since the last call as "<PRIORITY>" and the text behind the program's name. */
  [[nodiscard]] Lines logged() const {
    Lines found;
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = recv(logger_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0;) {
      // "<15>Jan  1 00:00:00 program: text"
      const std::string line(buffer.data(), static_cast<std::size_t>(size));
      const std::string name = std::string(program_invocation_short_name) + ": ";
      const std::size_t nameStart = line.find(name);
      EXPECT_NE(nameStart, std::string::npos) << line;
      found.push_back(line.substr(0, line.find('>') + 1) + line.substr(nameStart + name.size()));
    }
    return found;
  }
  static std::string priority(int severity) { return "<" + std::to_string(LOG_USER | severity) + ">"; }

  support::RestoredSettings settings_;
  sim::Descriptor logger_ = sim::bindTo("/dev/log", SOCK_DGRAM);
};

TEST_F(MessagesToSyslog, AreTagAndTextWithTheirPriorityWithoutATimeAndNowhereElse) {
  EXPECT_EQ(support::logDuring([] {
              DebugMessage("[rx_ctrl] ") << "text";
              ErrorMessage("100%s of %n while bind()");
            }),
            Lines{});
  EXPECT_EQ(logged(),
            (Lines{priority(LOG_DEBUG) + "[rx_ctrl] text", priority(LOG_ERR) + "100%s of %n while bind()"}));
}

TEST_F(MessagesToSyslog, AreNoneWhereTheyGoToStandardError) {
  settings.logToSyslog = false;
  EXPECT_EQ(support::logDuring([] { ErrorMessage("text"); }), Lines{"text"});
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(MessagesToSyslog, AreNoErrorWithoutALogger) {
  unlink("/dev/log");
  EXPECT_NO_THROW(ErrorMessage("lost"));
}

}  // namespace
