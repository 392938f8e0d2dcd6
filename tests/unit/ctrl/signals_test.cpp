#include "ctrl/signals.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include "ctrl/settings.h"
#include "sim/descriptor.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/failing_call.h"
#include "support/output.h"
#include "support/restored_settings.h"
#include "support/thrown.h"
#include "ulx/wait.h"

namespace {

using testing::Eq;
using testing::ExitedWithCode;

using Lines = std::vector<std::string>;

constexpr unsigned patience = 20;  // seconds, for what must not block

// The bytes in the pipe; it is empty then.
std::size_t takeChildExits() {
  ulx::FdSetRecord sets;
  sets.addReader(childExitReadEnd().fd());
  return ulx::pollFd(sets) ? childExitReadEnd().readSome().size() : 0;
}

// When it returns, SIGCHLD has been handled.
void runWorker(const std::function<void()>& work) {
  const pid_t worker = fork();
  if (worker == 0) {
    work();
    _exit(0);
  }
  ASSERT_EQ(waitpid(worker, nullptr, 0), worker);
}

void endWith(int status) {
  runWorker([status] { _exit(status); });
}

void block(int signal) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  sigprocmask(SIG_BLOCK, &set, nullptr);
}

// A pipe's end opened anew from /proc may be its other end.
void fillChildExitPipe() {
  const std::string readEnd = "/proc/self/fd/" + std::to_string(childExitReadEnd().fd());
  const sim::Descriptor writeEnd(open(readEnd.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
  while (write(writeEnd.get(), "x", 1) == 1) {
  }
}

class Signals : public testing::Test {
 private:
  support::RestoredSettings settings_;
};

class ChildHandler : public Signals {};
class HangupHandler : public Signals {};

TEST_F(ChildHandler, EachEndedWorkerIsAByteInThePipe) {
  support::inChild([] {
    installChildHandler();
    takeChildExits();
    endWith(0);
    EXPECT_EQ(takeChildExits(), 1U);
    endWith(1);
    endWith(5);
    endWith(28);
    EXPECT_EQ(takeChildExits(), 3U);
  });
}

TEST_F(ChildHandler, AKilledWorkerIsAByteInThePipeToo) {
  support::inChild([] {
    installChildHandler();
    takeChildExits();
    runWorker([] { raise(SIGKILL); });
    EXPECT_EQ(takeChildExits(), 1U);
  });
}

TEST_F(ChildHandler, AWorkerKilledByASignalNumberedAsTheStatusOfAFailedExecIsAnEndedWorker) {
  support::inChild([] {
    installChildHandler();
    takeChildExits();
    runWorker([] { raise(42); });
    EXPECT_EQ(takeChildExits(), 1U);
  });
}

TEST_F(ChildHandler, AStoppedOrContinuedWorkerIsNone) {
  support::inChild([] {
    installChildHandler();
    takeChildExits();
    const pid_t worker = fork();
    if (worker == 0) {
      raise(SIGSTOP);
      _exit(0);
    }
    ASSERT_EQ(waitpid(worker, nullptr, WUNTRACED), worker);
    EXPECT_EQ(takeChildExits(), 0U);
    kill(worker, SIGCONT);
    ASSERT_EQ(waitpid(worker, nullptr, 0), worker);
    EXPECT_EQ(takeChildExits(), 1U);
  });
}

TEST_F(ChildHandler, AWorkerThatCouldNotBeExecutedEndsTheDaemonSilently) {
  EXPECT_EXIT(
      {
        installChildHandler();
        endWith(42);
      },
      ExitedWithCode(1), Eq(""));
}

TEST_F(ChildHandler, WithDebuggingTheEndIsExplainedOnStandardError) {
  settings.debugCtrl = true;
  settings.logToSyslog = true;
  EXPECT_EXIT(
      {
        installChildHandler();
        endWith(42);
      },
      ExitedWithCode(1), Eq("[RxCtrl] *** subprocess exec() failed; maybe not found? ***\n"));
}

TEST_F(ChildHandler, NeitherWaitsForRoomInThePipeNorDisturbsAnErrorNumber) {
  support::inChild([] {
    alarm(patience);
    installChildHandler();
    fillChildExitPipe();
    const pid_t worker = fork();
    if (worker == 0) {
      _exit(0);
    }
    errno = EXDEV;
    const pid_t ended = waitpid(worker, nullptr, 0);
    EXPECT_EQ(errno, EXDEV);
    EXPECT_EQ(ended, worker);
  });
}

TEST_F(ChildHandler, WorksAlsoWhereTheSignalWasBlocked) {
  support::inChild([] {
    block(SIGCHLD);
    installChildHandler();
    takeChildExits();
    endWith(0);
    EXPECT_EQ(takeChildExits(), 1U);
  });
}

TEST_F(ChildHandler, BlocksNoOtherSignalAndRestartsNoCall) {
  support::inChild([] {
    installChildHandler();
    struct sigaction action {};
    ASSERT_EQ(sigaction(SIGCHLD, nullptr, &action), 0);
    EXPECT_NE(action.sa_flags & SA_SIGINFO, 0);
    EXPECT_NE(action.sa_flags & SA_NOCLDSTOP, 0);
    EXPECT_EQ(action.sa_flags & (SA_RESTART | SA_NOCLDWAIT), 0);
    EXPECT_EQ(sigismember(&action.sa_mask, SIGHUP), 0);
    EXPECT_EQ(sigismember(&action.sa_mask, SIGTERM), 0);
  });
}

TEST_F(ChildHandler, ThatCannotBeInstalledIsAnError) {
  support::inChild([] {
    if (!support::failSystemCall(SYS_rt_sigaction, {.index = 0, .value = SIGCHLD}, EINVAL)) {
      GTEST_SKIP() << "no seccomp filters here";
    }
    EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>([] { installChildHandler(); }),
              "sigaction(SIGCHLD)");
  });
}

TEST_F(ChildHandler, ItsPipeIsNotGivenToWorkers) {
  const std::string pipe = "/proc/self/fd/" + std::to_string(childExitReadEnd().fd());
  std::array<char, 64> name{};
  ASSERT_GT(readlink(pipe.c_str(), name.data(), name.size() - 1), 0);
  std::size_t ends = 0;
  for (const int fd : support::openDescriptors()) {
    std::array<char, 64> other{};
    (void)readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), other.data(), other.size() - 1);
    if (name == other) {
      EXPECT_TRUE(support::isCloseOnExec(fd));
      ++ends;
    }
  }
  EXPECT_EQ(ends, 2U);
}

TEST_F(HangupHandler, RequestsAReloadOfThePolicy) {
  support::inChild([] {
    installHangupHandler();
    EXPECT_EQ(policyReloadRequested, 0);
    raise(SIGHUP);
    EXPECT_EQ(policyReloadRequested, 1);
  });
}

TEST_F(HangupHandler, StaysInstalled) {
  support::inChild([] {
    installHangupHandler();
    raise(SIGHUP);
    policyReloadRequested = 0;
    raise(SIGHUP);
    EXPECT_EQ(policyReloadRequested, 1);
  });
}

TEST_F(HangupHandler, WorksAlsoWhereTheSignalWasBlocked) {
  support::inChild([] {
    block(SIGHUP);
    installHangupHandler();
    raise(SIGHUP);
    EXPECT_EQ(policyReloadRequested, 1);
  });
}

TEST_F(HangupHandler, IsToldOfWithDebugging) {
  settings.debugCtrl = true;
  support::inChild([] {
    const support::CapturedStandardError captured;
    installHangupHandler();
    EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl] setup signal hansler"});
  });
}

TEST_F(HangupHandler, IsNotToldOfWithoutDebugging) {
  support::inChild([] {
    const support::CapturedStandardError captured;
    installHangupHandler();
    EXPECT_EQ(captured.writes(), Lines{});
  });
}

TEST_F(HangupHandler, ThatCannotBeInstalledIsNoErrorAndToldOfAsEver) {
  settings.debugCtrl = true;
  support::inChild([] {
    if (!support::failSystemCall(SYS_rt_sigaction, {.index = 0, .value = SIGHUP}, EINVAL)) {
      GTEST_SKIP() << "no seccomp filters here";
    }
    const support::CapturedStandardError captured;
    EXPECT_NO_THROW(installHangupHandler());
    EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl] setup signal hansler"});
  });
}

}  // namespace
