#include "workers/launch.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "ctrl/messages.h"
#include "ctrl/signals.h"
#include "sim/contract.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/launch_world.h"
#include "support/output.h"
#include "support/thrown.h"
#include "ulx/write_once.h"
#include "workers/worker_arguments.h"

namespace {

using support::Lines;
namespace debug = contract::debug;

class Launch : public support::LaunchWorld {
 protected:
  /** Makes a keyboard's HID device node 180:96, two levels below the device; its directory. */
  [[nodiscard]] std::string plugHiddev() const {
    device_.write("node/dev", "180:96\n");
    device_.write("interface/bInterfaceClass", "03\n");
    const std::string node = device_.path() + "/node";
    if (!std::filesystem::exists(node + "/device")) {
      std::filesystem::create_directory_symlink("../interface", node + "/device");
    }
    return node;
  }

  /** Starts the worker of a disk, a keyboard or a USB device. */
  void launchScsi() { launchScsiWorker(*ctrl_, device_.path()); }
  void launchKeyboard() { launchKeyboardWorker(*ctrl_, plugHiddev()); }
  void launchGeneric() { launchGenericWorker(*ctrl_, device_.path()); }
};

TEST_F(Launch, OfAGenericWorkerAloneIsRememberedWithItsTime) {
  launchScsi();
  launchKeyboard();
  EXPECT_EQ(ctrl_->lastGenericStart, 0.0);
  const double before = timestampNow();
  launchGeneric();
  EXPECT_GE(ctrl_->lastGenericStart, before);
  EXPECT_LE(ctrl_->lastGenericStart, timestampNow());
}

TEST_F(Launch, OfAGenericWorkerWhileAttachingIsBlockedHasATimeoutAndIsNeitherShownNorRemembered) {
  connectClient();
  ctrl_->attachBlocked = true;
  ctrl_->connectFailTimeoutText = "7s";
  ctrl_->lastGenericStart = 1000.0;
  launchGeneric();
  EXPECT_EQ(nextStart().arguments,
            (WorkerArguments{"usb_rx_generic", "--timeout", "7s", "eth1", "host", "5000", device_.path()}));
  EXPECT_EQ(ctrl_.shown(), Lines{});
  EXPECT_EQ(ctrl_->lastGenericStart, 1000.0);
}

TEST_F(Launch, OfAnotherWorkerWhileAttachingIsBlockedHasNoTimeoutAndIsShown) {
  ctrl_->attachBlocked = true;
  launchScsi();
  EXPECT_EQ(nextStart().arguments, (WorkerArguments{"usb_rx_scsi", "eth1", "host", "5002", device_.path()}));
  launchKeyboard();
  EXPECT_EQ(nextStart().arguments, (WorkerArguments{"usb_rx_keyboard", "eth1", "host", "5001", "180", "96"}));
  EXPECT_EQ(ctrl_.shown().size(), 2U);
}

TEST_F(Launch, RecordsTheWorkerUnderItsDevice) {
  launchGeneric();
  const pid_t pid = nextStart().pid;
  EXPECT_EQ(ctrl_->workers.byPid, (std::map<pid_t, std::string>{{pid, device_.path()}}));
  EXPECT_EQ(ctrl_->workers.byPath, (std::map<std::string_view, pid_t>{{device_.path(), pid}}));
}

TEST_F(Launch, IsLoggedWithDebugging) {
  EXPECT_EQ(
      support::debugLogDuring([this] {
        launchScsi();
        launchKeyboard();
        launchGeneric();
      }),
      support::tagged({debug::startingScsi(device_.path()), debug::startingKeyboard(plugHiddev(), "180:96"),
                       debug::startingGeneric(device_.path())}));
}

// Nobody is its parent any more: the system returns no process.
TEST_F(Launch, OfAGenericWorkerWhoseDaemonEndsMeanwhileStartsNothing) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the leak check at the child's end needs the call that fails here";
#endif
  support::inChildWithFailing({.number = SYS_getppid, .error = ESRCH}, [this] {
    launchGeneric();
    int status = -1;
    ASSERT_EQ(waitpid(-1, &status, 0), ctrl_->workers.byPath.at(device_.path()));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(workers_.count(), 0U);
  });
}

TEST_F(Launch, GivesTheWorkerNoneOfTheDaemonsDescriptors) {
  std::set<int> mine = support::openDescriptors();
  std::erase_if(mine, [](int fd) { return !support::isCloseOnExec(fd); });
  launchGeneric();
  for (const sim::OpenDescriptor& open : nextStart().descriptors) {
    EXPECT_FALSE(mine.contains(open.number)) << open.number << ": " << open.target;
  }
  for (const int fd : {ctrl_->listener.fd(), ctrl_->uevents->fd(), childExitReadEnd().fd()}) {
    EXPECT_TRUE(mine.contains(fd)) << fd;
  }
}

// Where the process says that it does what it has left for its end.
int endMessages = -1;

void logTheEnd() {
  ulx::writeOnce(endMessages, "end");
}

TEST_F(Launch, OfAMissingProgramEndsTheChildWithItsStatusAndNoneOfWhatIsForTheDaemonsEnd) {
  setenv("PATH", "/sim", 1);
  const support::PacketPipe messages;
  endMessages = messages.writeEnd();
  ASSERT_EQ(std::atexit(logTheEnd), 0);
  launchGeneric();
  int status = 0;
  EXPECT_EQ(waitpid(-1, &status, 0), ctrl_->workers.byPath.at(device_.path()));
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 42);
  EXPECT_EQ(messages.writes(), Lines{});
  endMessages = -1;
}

TEST_F(Launch, ThatCannotForkRecordsNothingAndShowsNothing) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the leak check at the child's end needs the call that fails here";
#endif
  connectClient();
  support::inChildWithFailing({.number = SYS_vfork, .error = EAGAIN}, [this] {
    EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([this] { launchGeneric(); }), "fork()");
    EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([this] { launchScsi(); }), "fork()");
    EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([this] { launchKeyboard(); }), "fork()");
    EXPECT_TRUE(ctrl_->workers.byPid.empty());
    EXPECT_TRUE(ctrl_->workers.byPath.empty());
    EXPECT_EQ(ctrl_.shown(), Lines{});
  });
}

}  // namespace
