#include "ulx/child_handler.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "support/thrown.h"
#include "unit/ulx/library_calls.h"

namespace {

volatile std::sig_atomic_t calls = 0;
volatile std::sig_atomic_t lastSignal = 0;
volatile std::sig_atomic_t lastCode = 0;
volatile std::sig_atomic_t lastStatus = 0;

void record(int signal, siginfo_t* info, void* /*context*/) {
  calls = calls + 1;
  lastSignal = signal;
  lastCode = info->si_code;
  lastStatus = info->si_status;
}

// `record` is installed during each test.
class ChildHandler : public testing::Test {
 protected:
  ChildHandler() {
    sigaction(SIGCHLD, nullptr, &old_);
    calls = 0;
    ulx::installChildHandler(record);
  }
  ~ChildHandler() override { sigaction(SIGCHLD, &old_, nullptr); }

  static void awaitEnd(pid_t child) {
    while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
    }
  }

 private:
  struct sigaction old_ {};
};

TEST_F(ChildHandler, GetsTheExitCodeOfAChild) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(42);
  }
  awaitEnd(child);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(lastSignal, SIGCHLD);
  EXPECT_EQ(lastCode, CLD_EXITED);
  EXPECT_EQ(lastStatus, 42);
}

TEST_F(ChildHandler, RunsForTheKillingSignalButNotForAStop) {
  const pid_t child = fork();
  if (child == 0) {
    pause();
    _exit(EXIT_FAILURE);
  }
  int status = 0;
  kill(child, SIGSTOP);
  ASSERT_EQ(waitpid(child, &status, WUNTRACED), child);
  kill(child, SIGCONT);
  ASSERT_EQ(waitpid(child, &status, WCONTINUED), child);
  EXPECT_EQ(calls, 0);
  kill(child, SIGKILL);
  awaitEnd(child);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(lastCode, CLD_KILLED);
  EXPECT_EQ(lastStatus, SIGKILL);
}

TEST_F(ChildHandler, IsInstalledWithItsFlagsAndAnEmptyMask) {
  struct sigaction installed {};
  ASSERT_EQ(sigaction(SIGCHLD, nullptr, &installed), 0);
  EXPECT_EQ(installed.sa_sigaction, record);
  constexpr int everyFlag = SA_NOCLDSTOP | SA_NOCLDWAIT | SA_SIGINFO | SA_ONSTACK | SA_RESTART | SA_NODEFER;
  EXPECT_EQ(installed.sa_flags & everyFlag, SA_NOCLDSTOP | SA_SIGINFO);
  for (int signal = 1; signal < NSIG; ++signal) {
    EXPECT_NE(sigismember(&installed.sa_mask, signal), 1) << signal;
  }
}

TEST_F(ChildHandler, ThatCannotBeInstalledIsThrown) {
  const support::Replaced failing(library::sigaction, [](int, const struct sigaction*, struct sigaction*) {
    errno = EINVAL;
    return -1;
  });
  EXPECT_EQ(support::caught<ulx::InvalidArgument>([] { ulx::installChildHandler(record); }).text(),
            "Invalid argument while sigaction(SIGCHLD)\n");
}

}  // namespace
