#include <boost/lexical_cast.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "ctrl/rx_ctrl.h"
#include "ctrl/settings.h"
#include "ctrl/signals.h"
#include "sim/uevent_sender.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "support/test_ctrl.h"
#include "support/thrown.h"
#include "ulx/pipe.h"
#include "unit/ctrl/main_loop_world.h"

namespace {

using Lines = std::vector<std::string>;

constexpr const char* parameters = "host 5000 high eth1 in out";

TEST(MainLoop, EndsWhenTheControlConnectionIsAtItsEnd) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    endAtOnce(*ctrl);
    ctrl->run();
  });
}

TEST(MainLoop, EndsWhenTheControlConnectionSpeaksAndDoesNotListen) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    ulx::Pipe pipe;
    pipe.writeEnd.writeAll("bye", 3);
    ctrl->controlConnection = std::make_unique<ControlConnection>(pipe.readEnd.fd());
    ctrl->run();
    EXPECT_EQ(pipe.readEnd.readSome(), "bye");
  });
}

TEST(MainLoop, SaysWhatItBeginsWith) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    settings.debugCtrl = true;
    endAtOnce(*ctrl);
    const support::CapturedStandardError captured;
    ctrl->run();
    EXPECT_EQ(captured.messages(),
              (Lines{"[rx_ctrl] setup signal hansler", "[rx_ctrl] coldplugging existing devices",
                     "[rx_ctrl] hotplugging new devices"}));
  });
}

TEST(MainLoop, SaysNothingWithoutDebugging) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    endAtOnce(*ctrl);
    const support::CapturedStandardError captured;
    ctrl->run();
    EXPECT_EQ(captured.writes(), Lines{});
  });
}

TEST(MainLoop, ListensToHangups) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    endAtOnce(*ctrl);
    ctrl->run();
    raise(SIGHUP);
    EXPECT_EQ(policyReloadRequested, 1);
  });
}

TEST(MainLoop, ReapsWorkersThatHaveEndedAndEmptiesThePipe) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    installChildHandler();
    for (int i = 0; i < 3; ++i) {
      const pid_t worker = fork();
      if (worker == 0) {
        _exit(0);
      }
      ctrl->addWorker(worker, "/sys/devices/" + std::to_string(i));
      siginfo_t info{};
      ASSERT_EQ(waitid(P_PID, static_cast<id_t>(worker), &info, WEXITED | WNOWAIT), 0);
    }
    endAtOnce(*ctrl);
    ctrl->run();
    EXPECT_TRUE(ctrl->workers.byPid.empty());
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    fcntl(childExitReadEnd().fd(), F_SETFL, O_NONBLOCK);
    EXPECT_THROW((void)childExitReadEnd().readSome(), ulx::WouldBlock);
  });
}

TEST(MainLoop, KeepsTheConnectionThatDeliveredParameters) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    deliverParameters(*ctrl, parameters);
    ctrl->run();
    ASSERT_NE(ctrl->controlConnection, nullptr);
    EXPECT_TRUE(support::isOpen(ctrl->controlConnection->fd()));
  });
}

TEST(MainLoop, AConnectionThatIsReplacedStaysOpen) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    const support::ControlClient earlier(ctrl->socketPath);
    earlier.send(parameters);
    deliverParameters(*ctrl, parameters);
    ctrl->run();
    EXPECT_FALSE(earlier.isDisconnected());
  });
}

TEST(MainLoop, EveryControlClientForgetsTheStartOfTheLastGenericWorker) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    ctrl->lastGenericStart = 1000.0;
    const support::ControlClient asking(ctrl->socketPath);
    asking.send("?");
    endAtOnce(*ctrl);
    ctrl->run();
    EXPECT_EQ(ctrl->lastGenericStart, 0.0);
  });
}

TEST(MainLoop, WithoutAControlClientTheStartOfTheLastGenericWorkerIsKept) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    ctrl->lastGenericStart = 1000.0;
    endAtOnce(*ctrl);
    ctrl->run();
    EXPECT_EQ(ctrl->lastGenericStart, 1000.0);
  });
}

TEST(MainLoop, ServesUeventsBeforeControlClients) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    settings.debugCtrl = true;
    const support::ControlClient asking(ctrl->socketPath);
    asking.send("?");
    sim::UeventSender().remove("/devices/x");
    endAtOnce(*ctrl);
    const support::CapturedStandardError captured;
    ctrl->run();
    const Lines messages = captured.messages();
    ASSERT_EQ(messages.size(), 5U);
    EXPECT_EQ(messages[3], "[rx_ctrl] remove /devices/x");
    EXPECT_EQ(messages[4].substr(0, 25), "[rx_ctrl] immediate send ");
  });
}

TEST(MainLoop, TakesOneUeventATurn) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    const sim::UeventSender kernel;
    kernel.remove("/devices/x");
    kernel.remove("/devices/y");
    endAtOnce(*ctrl);
    ctrl->run();
    EXPECT_EQ(ctrl->uevents->readUEvent().at("DEVPATH"), "/devices/y");
  });
}

TEST(MainLoop, IsLeftByWhateverASourceThrows) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    deliverParameters(*ctrl, "host port");
    EXPECT_THROW(ctrl->run(), boost::bad_lexical_cast);
  });
}

TEST(MainLoop, IsLeftWhenADescriptorIsTooHighToBeWatched) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    ctrl->controlConnection = std::make_unique<ControlConnection>(FD_SETSIZE);
    EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>([&ctrl] { ctrl->run(); }), "select()");
  });
}

// Ends the main loop after so many seconds.
void endAfter(RxCtrl& ctrl, time_t seconds, long nanoseconds) {
  const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  const itimerspec time{.it_interval = {}, .it_value = {.tv_sec = seconds, .tv_nsec = nanoseconds}};
  ASSERT_EQ(timerfd_settime(timer, 0, &time, nullptr), 0);
  ctrl.controlConnection = std::make_unique<ControlConnection>(timer);
}

TEST(MainLoop, ForgetsRestartsAfterThreeQuietSeconds) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    ctrl->restartCount = 10;
    ctrl->attachBlocked = true;
    endAfter(*ctrl, 3, 300'000'000);
    ctrl->run();
    EXPECT_EQ(ctrl->restartCount, 0U);
    EXPECT_TRUE(ctrl->attachBlocked);
  });
}

TEST(MainLoop, RemembersRestartsForThreeSeconds) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    ctrl->restartCount = 10;
    endAfter(*ctrl, 2, 700'000'000);
    ctrl->run();
    EXPECT_EQ(ctrl->restartCount, 10U);
  });
}

}  // namespace
