#include "ctrl/signals.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <functional>
#include <set>
#include <string>

#include "ctrl/settings.h"
#include "sim/contract.h"
#include "sim/descriptor.h"
#include "support/blocked_signals.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "support/restored_settings.h"
#include "support/thrown.h"
#include "ulx/wait.h"

namespace {

using support::blockedSignals;
using support::Lines;

constexpr unsigned patience = 20;  // seconds, for what must not block

// The bytes in the pipe; it is empty then.
std::size_t takeChildExits() {
  ulx::FdSetRecord sets;
  sets.addReader(childExitReadEnd().fd());
  return ulx::pollFd(ulx::FdSetRecord(sets)) ? childExitReadEnd().readSome().size() : 0;
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

// What /proc says is open there.
std::string targetOf(int fd) {
  std::array<char, 64> target{};
  const std::string name = "/proc/self/fd/" + std::to_string(fd);
  const ssize_t length = readlink(name.c_str(), target.data(), target.size());
  return {target.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

class SignalsTest : public testing::Test {
 private:
  support::RestoredSettings settings_;
};

using SignalsOfChildren = SignalsTest;
using SignalsOfHangups = SignalsTest;

TEST_F(SignalsOfChildren, MakeEachEndedWorkerAByteInThePipe) {
  support::inChild([] {
    block(SIGCHLD);
    installChildHandler();
    takeChildExits();
    endWith(0);
    EXPECT_EQ(takeChildExits(), 1U) << "though the signal was blocked";
    endWith(1);
    endWith(5);
    endWith(28);
    EXPECT_EQ(takeChildExits(), 3U);
    runWorker([] { raise(SIGKILL); });
    EXPECT_EQ(takeChildExits(), 1U);
    runWorker([] { raise(42); });
    EXPECT_EQ(takeChildExits(), 1U) << "the number of the signal is the status of a failed exec";
  });
}

TEST_F(SignalsOfChildren, SayNothingOfAStoppedOrContinuedWorker) {
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

TEST_F(SignalsOfChildren, NeitherWaitForRoomInThePipeNorDisturbAnErrorNumber) {
  support::inChild([] {
    alarm(patience);
    installChildHandler();
    fillChildExitPipe();
    block(SIGCHLD);
    endWith(0);
    sigset_t none;
    sigemptyset(&none);
    errno = EXDEV;
    sigprocmask(SIG_SETMASK, &none, nullptr);  // the handler runs before it returns
    EXPECT_EQ(errno, EXDEV);
  });
}

TEST_F(SignalsOfChildren, BlockNoOtherSignalAndRestartNoCall) {
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

TEST_F(SignalsOfChildren, ThatCannotBeCaughtAreAnError) {
  const support::ArgumentIs ofChildren{.index = 0, .value = SIGCHLD};
  support::inChildWithFailing({.number = SYS_rt_sigaction, .error = EINVAL, .argument = ofChildren}, [] {
    EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>([] { installChildHandler(); }),
              "sigaction(SIGCHLD)");
  });
}

TEST_F(SignalsOfChildren, HaveAPipeThatIsNotGivenToWorkers) {
  const std::string pipe = targetOf(childExitReadEnd().fd());
  std::size_t ends = 0;
  for (const int fd : support::openDescriptors()) {
    if (targetOf(fd) == pipe) {
      EXPECT_TRUE(support::isCloseOnExec(fd));
      ++ends;
    }
  }
  EXPECT_EQ(ends, 2U);
}

TEST_F(SignalsOfHangups, RequestAReloadOfThePolicyEachTime) {
  support::inChild([] {
    block(SIGHUP);
    installHangupHandler();
    EXPECT_EQ(policyReloadRequested, 0);
    for (int i = 0; i < 2; ++i) {
      raise(SIGHUP);
      EXPECT_EQ(policyReloadRequested, 1);
      policyReloadRequested = 0;
    }
  });
}

TEST_F(SignalsOfHangups, AreCaughtWithoutAWord) {
  support::inChild([] {
    block(SIGHUP);
    EXPECT_EQ(support::debugLogDuring([] { catchHangups(); }), Lines{});
    raise(SIGHUP);
    EXPECT_EQ(policyReloadRequested, 1);
  });
}

TEST_F(SignalsOfHangups, AreLoggedWithDebuggingThoughTheyCannotBeCaught) {
  const Lines setUp = support::tagged({contract::debug::hangupHandler});
  support::inChild([&setUp] {
    EXPECT_EQ(support::logDuring([] { installHangupHandler(); }), Lines{});
    EXPECT_EQ(support::debugLogDuring([] { installHangupHandler(); }), setUp);
  });
  const support::ArgumentIs ofHangups{.index = 0, .value = SIGHUP};
  support::inChildWithFailing({.number = SYS_rt_sigaction, .error = EINVAL, .argument = ofHangups}, [&setUp] {
    EXPECT_EQ(support::debugLogDuring([] { EXPECT_NO_THROW(installHangupHandler()); }), setUp);
  });
}

TEST_F(SignalsTest, OfBrokenPipesOnceIgnoredCostOnlyTheWrite) {
  support::inChild([] {
    std::signal(SIGPIPE, SIG_DFL);
    ignoreBrokenPipes();
    support::PacketPipe pipe;
    pipe.closeReadEnd();
    EXPECT_EQ(write(pipe.writeEnd(), "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
  });
}

TEST_F(SignalsTest, OnceRestoredHaveNoHandlersAndAreNeitherIgnoredNorBlocked) {
  support::inChild([] {
    ignoreBrokenPipes();
    installChildHandler();
    std::signal(SIGTERM, SIG_IGN);
    std::signal(SIGRTMAX, SIG_IGN);
    block(SIGUSR1);
    block(SIGRTMAX);
    const HeldSignals held;
    held.restoreDefaults();
    EXPECT_EQ(blockedSignals(), std::set<int>());
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
      struct sigaction action {};
      // The C library keeps a few signals to itself.
      if (sigaction(signal, nullptr, &action) == 0) {
        EXPECT_EQ(action.sa_handler, SIG_DFL) << "signal " << signal;
      }
    }
  });
}

TEST_F(SignalsTest, OnceRestoredAreThoseThatHadBeenChangedBefore) {
  support::inChild([] {
    std::signal(SIGUSR1, SIG_IGN);
    const HeldSignals held;
    std::signal(SIGUSR2, SIG_IGN);
    held.restoreDefaults();
    EXPECT_EQ(std::signal(SIGUSR1, SIG_DFL), SIG_DFL);
    EXPECT_EQ(std::signal(SIGUSR2, SIG_DFL), SIG_IGN);
  });
}

TEST_F(SignalsTest, ThatAreHeldComeAfterwards) {
  support::inChild([] {
    catchHangups();
    {
      const HeldSignals held;
      raise(SIGHUP);
      EXPECT_EQ(policyReloadRequested, 0);
    }
    EXPECT_EQ(policyReloadRequested, 1);
  });
}

TEST_F(SignalsTest, AreHeldWhereTheyAreHandledOrIgnoredAndNoOthers) {
  support::inChild([] {
    ignoreBrokenPipes();
    catchHangups();
    installChildHandler();
    std::signal(SIGUSR2, SIG_IGN);
    const HeldSignals held;
    for (const int signal : {SIGPIPE, SIGHUP, SIGCHLD, SIGUSR2}) {
      EXPECT_TRUE(blockedSignals().contains(signal)) << "signal " << signal;
    }
    for (const int signal : {SIGTERM, SIGINT, SIGUSR1, SIGALRM}) {
      EXPECT_FALSE(blockedSignals().contains(signal)) << "signal " << signal;
    }
  });
}

TEST_F(SignalsTest, ThatWereBlockedBeforeStayBlocked) {
  support::inChild([] {
    block(SIGUSR1);
    block(SIGRTMAX);
    const std::set<int> before = blockedSignals();
    { const HeldSignals held; }
    EXPECT_EQ(blockedSignals(), before);
  });
}

}  // namespace
