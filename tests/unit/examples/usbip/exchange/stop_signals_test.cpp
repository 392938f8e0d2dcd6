#include "examples/usbip/exchange/stop_signals.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <csignal>

#include "support/child.h"
#include "support/descriptors.h"

namespace {

bool hasArrived(const usbip::StopSignals& signals) {
  pollfd now{.fd = signals.fd(), .events = POLLIN, .revents = 0};
  return ::poll(&now, 1, 0) == 1;
}

TEST(StopSignals, ShowThatOneHasArrivedAndEndNothing) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    support::inChild([signal] {
      const usbip::StopSignals signals;
      EXPECT_FALSE(hasArrived(signals));
      ASSERT_EQ(::raise(signal), 0);
      EXPECT_TRUE(hasArrived(signals));
    });
  }
}

TEST(StopSignals, LeaveOtherSignalsAsTheyWere) {
  support::inChild([] {
    sigset_t before;
    ASSERT_EQ(::sigprocmask(SIG_SETMASK, nullptr, &before), 0);
    const usbip::StopSignals signals;
    sigset_t after;
    ASSERT_EQ(::sigprocmask(SIG_SETMASK, nullptr, &after), 0);
    for (const int signal : {SIGQUIT, SIGCHLD, SIGUSR1, SIGPIPE}) {
      EXPECT_EQ(sigismember(&before, signal), sigismember(&after, signal));
    }
  });
}

TEST(StopSignals, AreNotGivenToExecutedPrograms) {
  support::inChild([] { EXPECT_TRUE(support::isCloseOnExec(usbip::StopSignals().fd())); });
}

}  // namespace
