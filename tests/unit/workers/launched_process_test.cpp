#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "ctrl/settings.h"
#include "ctrl/signals.h"
#include "support/descriptors.h"
#include "support/failing_call.h"
#include "support/output.h"
#include "support/thrown.h"
#include "ulx/write_once.h"
#include "unit/workers/launch_world.h"
#include "workers/launch.h"

namespace {

using Lines = std::vector<std::string>;

const Lines nothing;

TEST(Launch, RecordsTheWorkerUnderItsDevice) {
  inLaunchWorld([](LaunchWorld& world) {
    launchGenericWorker(*world.ctrl, world.device.path());
    const pid_t pid = world.nextStart().pid;
    EXPECT_EQ(world.ctrl->workers.byPid, (std::map<pid_t, std::string>{{pid, world.device.path()}}));
    EXPECT_EQ(world.ctrl->workers.byPath, (std::map<std::string, pid_t>{{world.device.path(), pid}}));
  });
}

TEST(Launch, IsToldOfWithDebugging) {
  inLaunchWorld([](LaunchWorld& world) {
    settings.debugCtrl = true;
    const std::string node = world.plugHiddev();
    const support::CapturedStandardError captured;
    launchScsiWorker(*world.ctrl, world.device.path());
    launchKeyboardWorker(*world.ctrl, node);
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(captured.messages(), (Lines{"[rx_ctrl] starting usb_rx_scsi for " + world.device.path(),
                                          "[rx_ctrl] starting usb_rx_keyboard for " + node + " (180:96)",
                                          "[rx_ctrl] starting usb_rx_generic for " + world.device.path()}));
  });
}

TEST(Launch, PassesOnWhoIsToDebug) {
  inLaunchWorld([](LaunchWorld& world) {
    settings.debugScsi = true;
    settings.logToSyslog = true;
    launchScsiWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments.at(2), "--syslog");
    settings.logToSyslog = false;
    launchScsiWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments.at(2), "--stderr");
    launchKeyboardWorker(*world.ctrl, world.plugHiddev());
    EXPECT_EQ(world.nextStart().arguments.at(1), "eth1");
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments.at(1), "eth1");
  });
}

TEST(Launch, PassesOnDebuggingToEachKindByItself) {
  inLaunchWorld([](LaunchWorld& world) {
    settings.debugKeyboard = true;
    launchKeyboardWorker(*world.ctrl, world.plugHiddev());
    EXPECT_EQ(world.nextStart().arguments.at(1), "--debug");
    settings = Settings();
    settings.debugGeneric = true;
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments.at(1), "--debug");
    launchScsiWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments.at(1), "eth1");
  });
}

TEST(Launch, OnlyGenericWorkersEndWithTheDaemon) {
  inLaunchWorld([](LaunchWorld& world) {
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().parentDeathSignal, SIGTERM);
    launchScsiWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().parentDeathSignal, 0);
    launchKeyboardWorker(*world.ctrl, world.plugHiddev());
    EXPECT_EQ(world.nextStart().parentDeathSignal, 0);
  });
}

// Nobody is its parent any more: asked for it, the system tells none.
TEST(Launch, OfAGenericWorkerWhoseDaemonEndsMeanwhileStartsNothing) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the leak check at the child's end needs the call that fails here";
#endif
  inLaunchWorld([](LaunchWorld& world) {
    if (!support::failSystemCall(SYS_getppid, ESRCH)) {
      GTEST_SKIP() << "no seccomp filters here";
    }
    launchGenericWorker(*world.ctrl, world.device.path());
    int status = -1;
    ASSERT_EQ(waitpid(-1, &status, 0), world.ctrl->workers.byPath.at(world.device.path()));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(world.board.count(), 0U);
  });
}

TEST(Launch, GivesTheWorkerSignalsAsTheyUsuallyAre) {
  inLaunchWorld([](LaunchWorld& world) {
    ignoreBrokenPipes();
    installChildHandler();
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    launchGenericWorker(*world.ctrl, world.device.path());
    const sim::WorkerStart start = world.nextStart();
    EXPECT_EQ(start.ignoredSignals, std::set<int>{});
    EXPECT_EQ(start.blockedSignals, std::set<int>{});
    EXPECT_EQ(start.caughtSignals, std::set<int>{});
  });
}

TEST(Launch, GivesTheWorkerNoneOfTheDaemonsDescriptors) {
  inLaunchWorld([](LaunchWorld& world) {
    std::set<int> mine;
    for (const int fd : support::openDescriptors()) {
      if (support::isCloseOnExec(fd)) {
        mine.insert(fd);
      }
    }
    launchGenericWorker(*world.ctrl, world.device.path());
    for (const sim::OpenDescriptor& open : world.nextStart().descriptors) {
      EXPECT_FALSE(mine.contains(open.number)) << open.number << ": " << open.target;
    }
    for (const int fd : {world.ctrl->listener.fd(), world.ctrl->uevents->fd(), childExitReadEnd().fd()}) {
      EXPECT_TRUE(mine.contains(fd)) << fd;
    }
  });
}

TEST(Launch, OfAMissingProgramEndsTheChildWithTheStatusThatSaysSo) {
  inLaunchWorld([](LaunchWorld& world) {
    setenv("PATH", "/sim", 1);
    launchGenericWorker(*world.ctrl, world.device.path());
    int status = 0;
    EXPECT_EQ(waitpid(-1, &status, 0), world.ctrl->workers.byPath.at(world.device.path()));
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 42);
  });
}

// Where the process says that it does what it has left for its end.
int endMessages = -1;

void sayThatTheEndHasCome() {
  ulx::writeOnce(endMessages, "end");
}

TEST(Launch, OfAMissingProgramLeavesWhatIsForTheDaemonsEndUndone) {
  inLaunchWorld([](LaunchWorld& world) {
    setenv("PATH", "/sim", 1);
    const support::PacketPipe messages;
    endMessages = messages.writeEnd();
    ASSERT_EQ(std::atexit(sayThatTheEndHasCome), 0);
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_NE(waitpid(-1, nullptr, 0), -1);
    EXPECT_EQ(messages.writes(), nothing);
    endMessages = -1;
  });
}

TEST(Launch, ThatCannotForkRecordsNothingAndShowsNothing) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the leak check at the child's end needs the call that fails here";
#endif
  inLaunchWorld([](LaunchWorld& world) {
    world.connectClient();
    const std::string node = world.plugHiddev();
    if (!support::failSystemCall(SYS_clone, EAGAIN)) {
      GTEST_SKIP() << "no seccomp filters here";
    }
    const auto generic = [&world] { launchGenericWorker(*world.ctrl, world.device.path()); };
    const auto scsi = [&world] { launchScsiWorker(*world.ctrl, world.device.path()); };
    const auto keyboard = [&] { launchKeyboardWorker(*world.ctrl, node); };
    EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>(generic), "fork()");
    EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>(scsi), "fork()");
    EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>(keyboard), "fork()");
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
    EXPECT_TRUE(world.ctrl->workers.byPath.empty());
    EXPECT_EQ(world.ctrl.shown(), nothing);
  });
}

}  // namespace
