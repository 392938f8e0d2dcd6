#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "ctrl/signals.h"
#include "support/child.h"
#include "support/output.h"

namespace {

void block(int signal) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  sigprocmask(SIG_BLOCK, &set, nullptr);
}

TEST(BrokenPipes, OnceIgnoredCostOnlyTheWrite) {
  support::inChild([] {
    std::signal(SIGPIPE, SIG_DFL);
    ignoreBrokenPipes();
    support::PacketPipe pipe;
    pipe.closeReadEnd();
    EXPECT_EQ(write(pipe.writeEnd(), "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
  });
}

TEST(DefaultSignals, HaveNoHandlersAndAreNeitherIgnoredNorBlocked) {
  support::inChild([] {
    ignoreBrokenPipes();
    installChildHandler();
    std::signal(SIGTERM, SIG_IGN);
    std::signal(SIGRTMAX, SIG_IGN);
    block(SIGUSR1);
    block(SIGRTMAX);
    restoreDefaultSignals();
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
      struct sigaction action {};
      // The C library keeps a few signals to itself.
      if (sigaction(signal, nullptr, &action) == 0) {
        EXPECT_EQ(action.sa_handler, SIG_DFL) << "signal " << signal;
        EXPECT_EQ(sigismember(&blocked, signal), 0) << "signal " << signal;
      }
    }
  });
}

}  // namespace
