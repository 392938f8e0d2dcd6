#include <boost/lexical_cast.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <set>
#include <string>

#include "ctrl/settings.h"
#include "ctrl/signals.h"
#include "sim/contract.h"
#include "sim/sysfs.h"
#include "support/child.h"
#include "support/control_client.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "support/private_world.h"
#include "support/test_ctrl.h"
#include "support/thrown.h"
#include "ulx/pipe.h"

namespace {

using support::Lines;

/** The daemon on a unit of its own where no USB device is plugged in. */
class MainLoop : public support::PrivateWorld {
 protected:
  /** Lets the main loop end when this descriptor, the control connection's, becomes readable. */
  void endBy(int fd) { ctrl_->controlConnection = std::make_unique<ControlConnection>(fd); }
  /** Lets it end after its first turn: the control connection is at its end. */
  void endAtOnce() {
    const ulx::Pipe pipe;
    endBy(dup(pipe.readEnd.fd()));
  }
  void endAfter(time_t seconds, long nanoseconds) {
    const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    const itimerspec time{.it_interval = {}, .it_value = {.tv_sec = seconds, .tv_nsec = nanoseconds}};
    ASSERT_EQ(timerfd_settime(timer, 0, &time, nullptr), 0);
    endBy(timer);
  }

  sim::Sysfs sysfs_;
  support::TestCtrl ctrl_;
};

TEST_F(MainLoop, EndsWhenTheControlConnectionIsReadableAndDoesNotReadIt) {
  ulx::Pipe pipe;
  pipe.writeEnd.writeAll("bye", 3);
  endBy(pipe.readEnd.fd());
  ctrl_->run();
  EXPECT_EQ(pipe.readEnd.readSome(), "bye");
}

TEST_F(MainLoop, LogsWhatItBeginsWithAndNothingWithoutDebugging) {
  endAtOnce();
  EXPECT_EQ(support::debugLogDuring([this] { ctrl_->run(); }),
            support::tagged({contract::debug::hangupHandler, contract::debug::coldplugging,
                             contract::debug::hotplugging}));
  EXPECT_EQ(support::logDuring([this] { ctrl_->run(); }), Lines{});
}

TEST_F(MainLoop, ReapsWorkersThatHaveEndedAndEmptiesThePipe) {
  support::inChild([this] {
    installChildHandler();
    for (int i = 0; i < 3; ++i) {
      const pid_t worker = fork();
      if (worker == 0) {
        _exit(0);
      }
      ctrl_->addWorker(worker, "/sys/devices/" + std::to_string(i));
      siginfo_t info{};
      ASSERT_EQ(waitid(P_PID, static_cast<id_t>(worker), &info, WEXITED | WNOWAIT), 0);
    }
    endAtOnce();
    ctrl_->run();
    EXPECT_TRUE(ctrl_->workers.byPid.empty());
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    fcntl(childExitReadEnd().fd(), F_SETFL, O_NONBLOCK);
    EXPECT_THROW((void)childExitReadEnd().readSome(), ulx::WouldBlock);
  });
}

TEST_F(MainLoop, ForgetsTheStartOfTheLastGenericWorkerWithEveryControlClient) {
  ctrl_->lastGenericStart = 1000.0;
  endAtOnce();
  ctrl_->run();
  EXPECT_EQ(ctrl_->lastGenericStart, 1000.0) << "without a client";
  const support::ControlClient asking(ctrl_->socketPath);
  asking.send("?");
  ctrl_->run();
  EXPECT_EQ(ctrl_->lastGenericStart, 0.0);
}

TEST_F(MainLoop, RemembersAControlConnectionThatIsReplacedAndLeavesItOpen) {
  const ulx::Pipe pipe;
  endBy(pipe.readEnd.fd());
  const support::ControlClient client(ctrl_->socketPath);
  client.send("host 5000 high eth1");
  client.finish();
  ctrl_->run();
  EXPECT_EQ(ctrl_->replacedConnections, std::set<int>{pipe.readEnd.fd()});
  EXPECT_TRUE(support::isOpen(pipe.readEnd.fd()));
}

TEST_F(MainLoop, IsLeftByWhatASourceThrows) {
  const support::ControlClient client(ctrl_->socketPath);
  client.send("host port");
  EXPECT_THROW(ctrl_->run(), boost::bad_lexical_cast);
}

TEST_F(MainLoop, IsLeftWhenADescriptorIsTooHighToBeWatched) {
  endBy(FD_SETSIZE);
  EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>([this] { ctrl_->run(); }), "select()");
}

TEST_F(MainLoop, ForgetsRestartsAfterThreeQuietSeconds) {
  ctrl_->restartCount = 10;
  ctrl_->attachBlocked = true;
  ctrl_->lastGenericStart = 1000.0;
  endAfter(3, 300'000'000);
  ctrl_->run();
  EXPECT_EQ(ctrl_->restartCount, 0U);
  EXPECT_TRUE(ctrl_->attachBlocked);
  EXPECT_EQ(ctrl_->lastGenericStart, 1000.0);
}

TEST_F(MainLoop, RemembersRestartsForThreeSeconds) {
  ctrl_->restartCount = 10;
  endAfter(2, 700'000'000);
  ctrl_->run();
  EXPECT_EQ(ctrl_->restartCount, 10U);
}

}  // namespace
