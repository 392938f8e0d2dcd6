#include "ulx/child_handler.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "unit/ulx/caught.h"
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

// Installs `record`, and takes it away at the end of the test.
class ChildHandlerTest : public testing::Test {
 protected:
  void SetUp() override {
    sigaction(SIGCHLD, nullptr, &old_);
    calls = 0;
    ulx::installChildHandler(record);
  }
  void TearDown() override { sigaction(SIGCHLD, &old_, nullptr); }

 private:
  struct sigaction old_ {};
};

// A child that waits for its end.
pid_t startChild() {
  const pid_t child = fork();
  if (child == 0) {
    pause();
    _exit(EXIT_FAILURE);
  }
  return child;
}

bool isEmpty(const sigset_t& mask) {
  bool empty = true;
  for (int signal = 1; signal < NSIG; ++signal) {
    empty = empty && sigismember(&mask, signal) != 1;
  }
  return empty;
}

TEST_F(ChildHandlerTest, IsToldHowAChildExited) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(42);
  }
  while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
  }
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(lastSignal, SIGCHLD);
  EXPECT_EQ(lastCode, CLD_EXITED);
  EXPECT_EQ(lastStatus, 42);
}

TEST_F(ChildHandlerTest, HearsOfNoStopButOfTheKillingSignal) {
  const pid_t child = startChild();
  int status = 0;
  kill(child, SIGSTOP);
  ASSERT_EQ(waitpid(child, &status, WUNTRACED), child);
  kill(child, SIGCONT);
  ASSERT_EQ(waitpid(child, &status, WCONTINUED), child);
  EXPECT_EQ(calls, 0);
  kill(child, SIGKILL);
  while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
  }
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(lastCode, CLD_KILLED);
  EXPECT_EQ(lastStatus, SIGKILL);
}

TEST_F(ChildHandlerTest, IsInstalledWithItsFlagsAndAnEmptyMask) {
  struct sigaction installed {};
  ASSERT_EQ(sigaction(SIGCHLD, nullptr, &installed), 0);
  EXPECT_EQ(installed.sa_sigaction, record);
  constexpr int everyFlag = SA_NOCLDSTOP | SA_NOCLDWAIT | SA_SIGINFO | SA_ONSTACK | SA_RESTART | SA_NODEFER;
  EXPECT_EQ(installed.sa_flags & everyFlag, SA_NOCLDSTOP | SA_SIGINFO);
  EXPECT_TRUE(isEmpty(installed.sa_mask));
}

TEST_F(ChildHandlerTest, NamesTheCallThatFailed) {
  const support::Replaced failing(library::sigaction, [](int, const struct sigaction*, struct sigaction*) {
    errno = EINVAL;
    return -1;
  });
  const auto e = caught<ulx::InvalidArgument>([] { ulx::installChildHandler(record); });
  EXPECT_EQ(e.text(), "Invalid argument while sigaction(SIGCHLD)\n");
}

}  // namespace
