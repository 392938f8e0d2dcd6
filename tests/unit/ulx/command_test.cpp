#include "ulx/command.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "support/descriptors.h"
#include "support/output.h"
#include "support/thrown.h"
#include "ulx/pipe.h"
#include "unit/allocations.h"
#include "unit/ulx/descriptor_limit.h"
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

std::string failureOfRunCmd(const std::string& command) {
  return support::caught<ulx::StrException>([&] { ulx::run_cmd(command); }).text();
}

TEST(Command, ReturnsItsOutputByteForByte) {
  EXPECT_EQ(outputOf("printf '  two\\n\\nlines \\n\\n'"), "  two\n\nlines \n\n");
  EXPECT_EQ(outputOf("printf 'a\\000b\\377\\r'"), std::string("a\0b\377\r", 5));
  EXPECT_EQ(outputOf("true"), "");
}

TEST(Command, ReturnsOutputOfAnyLength) {
  for (const int count : {1, 1023, 1024, 1025, 2047, 2048, 2049, 200'000}) {
    const std::string command = "printf '%0" + std::to_string(count) + "d' 0 | tr 0 x";
    EXPECT_EQ(outputOf(command), std::string(static_cast<std::size_t>(count), 'x'));
  }
}

TEST(Command, ReturnsStandardErrorToo) {
  EXPECT_EQ(outputOf("sh -c 'echo out; echo err >&2; echo out'"), "out\nerr\nout\n");
}

TEST(Command, RunsInTheShell) {
  EXPECT_EQ(outputOf("x=2; echo $((x * 21)) | tr 4 5"), "52\n");
}

TEST(Command, HasItsExitCodeAsItsStatus) {
  for (const int code : {0, 1, 127, 128, 255}) {
    EXPECT_EQ(statusOf("exit " + std::to_string(code)), code);
  }
}

TEST(Command, HasItsOutputAlsoWhenItFails) {
  int status = -1;
  EXPECT_EQ(ulx::captureCommand("echo before; exit 3", status), "before\n");
  EXPECT_EQ(status, 3);
}

TEST(Command, HasStatus256AfterAnySignal) {
  for (const int signal : {1, 2, 4, 6, 8, 9, 15, 16, 34, 64}) {
    EXPECT_EQ(statusOf("ulimit -c 0; kill -" + std::to_string(signal) + " $$"), 256) << signal;
  }
  EXPECT_EQ(ulx::endedBySignal, 256);
}

TEST(Command, IsReadOnAfterASignal) {
  ulx::Pipe awaited;
  const std::string end = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(awaited.readEnd.fd());
  const InterruptingTimer timer(awaited.writeEnd.fd());
  EXPECT_EQ(outputOf("printf before; head -c 1 " + end + " >/dev/null; printf ' after'"), "before after");
  EXPECT_GE(InterruptingTimer::count(), 3);
}

TEST(Command, IsReadOnAfterASignalWhateverAllocationsDoToErrno) {
  ulx::Pipe awaited;
  const std::string end = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(awaited.readEnd.fd());
  const std::string before(100, 'b');
  const InterruptingTimer timer(awaited.writeEnd.fd());
  const AllocationsThatSetErrno disturbance(ENOMEM);
  EXPECT_EQ(outputOf("printf " + before + "; head -c 1 " + end + " >/dev/null; printf ' after'"),
            before + " after");
}

TEST(Command, LeavesNothingOpen) {
  const int next = support::nextDescriptor();
  outputOf("echo text; false");
  EXPECT_EQ(support::nextDescriptor(), next);
}

TEST(Command, ThatCannotBeStartedIsNamedInFull) {
  const DescriptorLimit none(0);
  int status = 77;
  EXPECT_EQ(support::caught<ulx::ErrnoException>([&] { ulx::captureCommand("echo a", status); }).text(),
            "Too many open files while popen(echo a 2>&1)\n");
  EXPECT_EQ(status, 77);
}

TEST(Command, WhoseEndIsLostThrows) {
  const int next = support::nextDescriptor();
  const auto old = std::signal(SIGCHLD, SIG_IGN);  // the kernel then collects ended children itself
  EXPECT_EQ(support::caught<ulx::ErrnoException>([] { outputOf("echo a"); }).text(),
            "No child processes while pclose()\n");
  std::signal(SIGCHLD, old);
  EXPECT_EQ(support::nextDescriptor(), next);
}

TEST(CommandRun, ReturnsTheOutputOfACommandThatSucceeds) {
  EXPECT_EQ(ulx::run_cmd("sh -c 'echo out; echo err >&2'"), "out\nerr\n");
}

TEST(CommandRun, ThrowsTheStatusOfACommandThatFailsAndPrintsNothing) {
  const support::CapturedStandardError captured;
  EXPECT_EQ(failureOfRunCmd("false"), "run_cmd(false) exitted with status 1\n");
  EXPECT_EQ(failureOfRunCmd("echo lost; exit 255"), "run_cmd(echo lost; exit 255) exitted with status 255\n");
  EXPECT_EQ(failureOfRunCmd("kill -KILL $$"), "run_cmd(kill -KILL $$) exitted with status 256\n");
  EXPECT_TRUE(captured.writes().empty());
}

TEST(CommandRun, PassesOnThatTheCommandCannotBeStarted) {
  const DescriptorLimit none(0);
  EXPECT_EQ(support::caught<ulx::ErrnoException>([] { ulx::run_cmd("true"); }).context, "popen(true 2>&1)");
}

}  // namespace
