#include "ulx/command.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "support/output.h"
#include "ulx/pipe.h"
#include "unit/ulx/caught.h"
#include "unit/ulx/descriptor_limit.h"
#include "unit/ulx/descriptor_state.h"
#include "unit/ulx/interrupting_timer.h"

namespace {

std::string outputOf(const std::string& command) {
  int status = -1;
  return ulx::captureCommand(command, status);
}

int statusOf(const std::string& command) {
  int status = -1;
  ulx::captureCommand(command, status);
  return status;
}

// What `run_cmd` throws for `command`, less its line end.
std::string failureOf(const std::string& command) {
  return caught<ulx::StrException>([&] { ulx::run_cmd(command); }).message;
}

// A command that prints `count` characters x.
std::string printing(int count) {
  return "printf '%0" + std::to_string(count) + "d' 0 | tr 0 x";
}

TEST(CaptureCommand, GivesTheOutputAsItIs) {
  EXPECT_EQ(outputOf("printf '  two\\n\\nlines \\n\\n'"), "  two\n\nlines \n\n");
  EXPECT_EQ(outputOf("printf 'no end'"), "no end");
  EXPECT_EQ(outputOf("true"), "");
}

TEST(CaptureCommand, GivesBytesOfEveryValue) {
  EXPECT_EQ(outputOf("printf 'a\\000b\\377\\r'"), std::string("a\0b\377\r", 5));
}

TEST(CaptureCommand, GivesOutputOfAnyLengthWhole) {
  for (const int count : {1, 1023, 1024, 1025, 2047, 2048, 2049, 200'000}) {
    EXPECT_EQ(outputOf(printing(count)), std::string(static_cast<std::size_t>(count), 'x'));
  }
}

TEST(CaptureCommand, GivesOutputThatComesInPiecesWhole) {
  EXPECT_EQ(outputOf("for i in 1 2 3; do printf $i; cat /proc/self/stat >/dev/null; done"), "123");
}

TEST(CaptureCommand, GivesStandardErrorToo) {
  EXPECT_EQ(outputOf("ls /no/such").find("ls:"), 0U);
  EXPECT_EQ(outputOf("sh -c 'echo out; echo err >&2; echo out'"), "out\nerr\nout\n");
}

TEST(CaptureCommand, RunsItsCommandInTheShell) {
  EXPECT_EQ(outputOf("x=2; echo $((x * 21)) | tr 4 5"), "52\n");
}

TEST(CaptureCommand, GivesTheExitCode) {
  EXPECT_EQ(statusOf("true"), 0);
  EXPECT_EQ(statusOf("false"), 1);
  EXPECT_EQ(statusOf("exit 127"), 127);
  EXPECT_EQ(statusOf("exit 128"), 128);
  EXPECT_EQ(statusOf("exit 255"), 255);
}

TEST(CaptureCommand, GivesTheOutputOfACommandThatFails) {
  int status = -1;
  EXPECT_EQ(ulx::captureCommand("echo before; exit 3", status), "before\n");
  EXPECT_EQ(status, 3);
}

TEST(CaptureCommand, Gives256ForDeathByAnySignal) {
  for (const int signal : {1, 2, 4, 6, 8, 9, 15, 16, 34, 64}) {
    EXPECT_EQ(statusOf("ulimit -c 0; kill -" + std::to_string(signal) + " $$"), 256) << signal;
  }
  EXPECT_EQ(ulx::endedBySignal, 256);
}

TEST(CaptureCommand, ReadsOnAfterASignal) {
  ulx::Pipe awaited;
  const std::string end = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(awaited.readEnd.fd());
  const InterruptingTimer timer(awaited.writeEnd.fd());
  EXPECT_EQ(outputOf("printf before; head -c 1 " + end + " >/dev/null; printf ' after'"), "before after");
  EXPECT_GE(InterruptingTimer::count(), 3);
}

TEST(CaptureCommand, LeavesNothingOpen) {
  const int next = nextDescriptor();
  outputOf("echo text; false");
  EXPECT_EQ(nextDescriptor(), next);
}

TEST(CaptureCommand, NamesTheWholeCommandThatItCannotStart) {
  int status = 77;
  std::string context;
  {
    const DescriptorLimit none(nextDescriptor());
    const auto e = caught<ulx::ErrnoException>([&] { ulx::captureCommand("echo a", status); });
    EXPECT_EQ(e.errorNumber, EMFILE);
    context = e.context;
  }
  EXPECT_EQ(context, "popen(echo a 2>&1)");
  EXPECT_EQ(status, 77);
}

// The end of a command that somebody else waits for, or nobody: it is lost.
class IgnoredChildren {
 public:
  IgnoredChildren() { sigaction(SIGCHLD, &ignore_, &old_); }
  IgnoredChildren(const IgnoredChildren&) = delete;
  IgnoredChildren& operator=(const IgnoredChildren&) = delete;
  ~IgnoredChildren() { sigaction(SIGCHLD, &old_, nullptr); }

 private:
  static struct sigaction ignoring() {
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    return action;
  }

  struct sigaction ignore_ = ignoring();
  struct sigaction old_ {};
};

TEST(CaptureCommand, ThrowsWhenTheEndOfTheCommandIsLost) {
  const IgnoredChildren nobodyWaits;
  const int next = nextDescriptor();
  int status = 77;
  const auto e = caught<ulx::ErrnoException>([&] { ulx::captureCommand("echo a", status); });
  EXPECT_EQ(e.context, "pclose()");
  EXPECT_EQ(e.errorNumber, ECHILD);
  EXPECT_EQ(nextDescriptor(), next);
}

TEST(RunCmd, GivesTheOutputOfACommandThatSucceeds) {
  EXPECT_EQ(ulx::run_cmd("sh -c 'echo out; echo err >&2'"), "out\nerr\n");
}

TEST(RunCmd, ThrowsTheExitCodeOfACommandThatFails) {
  EXPECT_EQ(failureOf("false"), "run_cmd(false) exitted with status 1");
  EXPECT_EQ(failureOf("echo lost; exit 255"), "run_cmd(echo lost; exit 255) exitted with status 255");
}

TEST(RunCmd, EndsItsTextWithTheLine) {
  EXPECT_EQ(caught<ulx::StrException>([] { ulx::run_cmd("false"); }).text(),
            "run_cmd(false) exitted with status 1\n");
}

TEST(RunCmd, Throws256ForDeathByASignal) {
  EXPECT_EQ(failureOf("kill -KILL $$"), "run_cmd(kill -KILL $$) exitted with status 256");
}

TEST(RunCmd, Throws127WhereTheShellFindsNoProgram) {
  EXPECT_EQ(failureOf("/no/such"), "run_cmd(/no/such) exitted with status 127");
}

TEST(RunCmd, PassesOnThatTheCommandCannotBeStarted) {
  std::string text;
  {
    const DescriptorLimit none(nextDescriptor());
    text = textCaught([] { ulx::run_cmd("true"); });
  }
  EXPECT_EQ(text, "Too many open files while popen(true 2>&1)");
}

TEST(RunCmd, LogsNothing) {
  const support::CapturedStandardError captured;
  failureOf("ls /no/such");
  EXPECT_TRUE(captured.writes().empty());
}

}  // namespace
