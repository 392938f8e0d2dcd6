#include "ctrl/messages.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include "ctrl/clock.h"
#include "ctrl/settings.h"
#include "sim/descriptor.h"
#include "support/child.h"
#include "support/output.h"
#include "support/restored_settings.h"

namespace {

using Lines = std::vector<std::string>;

class StandardErrorMessages : public testing::Test {
 private:
  support::RestoredSettings settings_;
};

void sayToNobody() {
  DebugMessage("[rx_ctrl] ") << "lost";
  ErrorMessage("lost");
}

TEST(TimePrefix, IsTheTimeModuloAHundredSecondsWithMilliseconds) {
  EXPECT_EQ(timePrefix(1'700'000'123.4567), "23.457: ");
  EXPECT_EQ(timePrefix(63.004), "63.004: ");
  EXPECT_EQ(timePrefix(12.345), "12.345: ");
  EXPECT_EQ(timePrefix(199.5), "99.500: ");
}

TEST(TimePrefix, IsAtLeastSixCharactersWide) {
  EXPECT_EQ(timePrefix(7.125), " 7.125: ");
  EXPECT_EQ(timePrefix(0.0), " 0.000: ");
  EXPECT_EQ(timePrefix(1'700'000'000.0), " 0.000: ");
}

TEST(TimePrefix, IsRoundedAfterTheHundredHasBeenTakenOff) {
  EXPECT_EQ(timePrefix(99.9996), "100.000: ");
}

TEST_F(StandardErrorMessages, ADebugMessageIsTimeTagAndTextInOneWrite) {
  const support::CapturedStandardError captured;
  DebugMessage("[rx_ctrl] ") << "starting " << std::string("worker") << ' ' << 12 << " at " << 2.5;
  const Lines writes = captured.writes();
  ASSERT_EQ(writes.size(), 1U);
  EXPECT_EQ(writes[0].substr(writes[0].find(": ")), ": [rx_ctrl] starting worker 12 at 2.5\n");
  EXPECT_EQ(writes[0].find(": "), 6U) << writes[0];
}

TEST_F(StandardErrorMessages, AnErrorMessageIsTimeAndTextInOneWrite) {
  const support::CapturedStandardError captured;
  ErrorMessage("bind() has failed") << ", really";
  const Lines writes = captured.writes();
  ASSERT_EQ(writes.size(), 1U);
  EXPECT_EQ(writes[0].substr(6), ": bind() has failed, really\n");
}

TEST_F(StandardErrorMessages, ANewlineOfTheTextsOwnIsKept) {
  const support::CapturedStandardError captured;
  ErrorMessage("two\nlines\n");
  const Lines writes = captured.writes();
  ASSERT_EQ(writes.size(), 1U);
  EXPECT_EQ(writes[0].substr(6), ": two\nlines\n\n");
}

TEST_F(StandardErrorMessages, NothingIsWrittenBeforeTheMessageEnds) {
  const support::CapturedStandardError captured;
  {
    DebugMessage message("[rx_ctrl] ");
    message << "text";
    EXPECT_EQ(captured.writes(), Lines{});
  }
  EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl] text"});
}

TEST_F(StandardErrorMessages, TheTimeIsThatOfTheMessagesBeginning) {
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

TEST_F(StandardErrorMessages, ADebugMessageDoesNotAskWhetherDebuggingIsOn) {
  settings.debugCtrl = false;
  const support::CapturedStandardError captured;
  DebugMessage("[rx_ctrl] ") << "text";
  EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl] text"});
}

[[noreturn]] const char* failToTell() {
  throw std::runtime_error("cannot tell");
}

TEST_F(StandardErrorMessages, AnExceptionWhileItIsBuiltStillEmitsWhatIsThere) {
  const support::CapturedStandardError captured;
  EXPECT_THROW(DebugMessage("[rx_ctrl] ") << "so far" << failToTell(), std::runtime_error);
  EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl] so far"});
}

TEST_F(StandardErrorMessages, AReaderThatHasGoneIsNoError) {
  support::inChild([] {
    std::signal(SIGPIPE, SIG_IGN);
    support::PacketPipe pipe;
    pipe.closeReadEnd();
    const support::ReplacedStandardError replaced(pipe.writeEnd());
    EXPECT_NO_THROW(sayToNobody());
  });
}

TEST_F(StandardErrorMessages, AFullDiskIsNoError) {
  const sim::Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  const support::ReplacedStandardError replaced(full.get());
  EXPECT_NO_THROW(sayToNobody());
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

TEST_F(StandardErrorMessages, AMessageThatWaitsForItsReaderIsNotLostToSignals) {
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
    const Lines writes = pipe.writes();
    ASSERT_EQ(writes.size(), 1U);
    EXPECT_EQ(writes[0].substr(6), ": kept\n");
  });
}

}  // namespace
