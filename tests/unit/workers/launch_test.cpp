#include "workers/launch.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/messages.h"
#include "ctrl/settings.h"
#include "ctrl/signals.h"
#include "sim/contract.h"
#include "sim/files.h"
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
namespace display = contract::display;

const std::string unnamedAttached = display::attached(display::unnamedDevice) + "\n";

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

using LaunchOfADisk = Launch;
using LaunchOfAKeyboard = Launch;
using LaunchOfAUsbDevice = Launch;

TEST_F(LaunchOfADisk, StartsItsWorker) {
  launchScsi();
  EXPECT_EQ(nextStart().arguments, (WorkerArguments{"usb_rx_scsi", "eth1", "host", "5002", device_.path()}));
}

TEST_F(LaunchOfADisk, ShowsVendorAndModelABlankForNoVendorAndADefaultForNoModel) {
  launchScsi();
  EXPECT_EQ(ctrl_.shown(), Lines{" " + unnamedAttached});
  device_.write("device/model", "Disk\n");
  launchScsi();
  EXPECT_EQ(ctrl_.shown(), Lines{display::attached(" Disk") + "\n"});
  device_.write("device/vendor", "QEMU    \n");
  launchScsi();
  EXPECT_EQ(ctrl_.shown(), Lines{display::attached("QEMU     Disk") + "\n"});
}

TEST_F(LaunchOfAKeyboard, StartsTheWorkerOfItsNode) {
  launchKeyboard();
  EXPECT_EQ(nextStart().arguments, (WorkerArguments{"usb_rx_keyboard", "eth1", "host", "5001", "180", "96"}));
}

TEST_F(LaunchOfAKeyboard, ShowsTheNameOfTheDeviceThatTheNodeBelongsTo) {
  launchKeyboard();
  EXPECT_EQ(ctrl_.shown(), Lines{unnamedAttached});
  device_.write("product", "Keyboard\n");
  launchKeyboard();
  EXPECT_EQ(ctrl_.shown(), Lines{display::attached("Keyboard") + "\n"});
}

TEST_F(LaunchOfAKeyboard, WithoutANumberStartsNothing) {
  EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>(
                [this] { launchKeyboardWorker(*ctrl_, device_.path()); }),
            "open(\"" + device_.path() + "/dev\")");
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_TRUE(ctrl_->workers.byPid.empty());
  EXPECT_EQ(ctrl_.shown(), Lines{});
}

TEST_F(LaunchOfAUsbDevice, StartsTheGenericWorker) {
  launchGeneric();
  EXPECT_EQ(nextStart().arguments,
            (WorkerArguments{"usb_rx_generic", "eth1", "host", "5000", device_.path()}));
}

TEST_F(LaunchOfAUsbDevice, GivesTheWorkerTheKeysAndTheControlSocket) {
  ctrl_->inkey = "in";
  ctrl_->outkey = "out";
  ctrl_->socketPath = "/tmp/s";
  launchGeneric();
  EXPECT_EQ(nextStart().arguments, (WorkerArguments{"usb_rx_generic", "--keys", "in", "out", "--sock=/tmp/s",
                                                    "eth1", "host", "5000", device_.path()}));
}

TEST_F(LaunchOfAUsbDevice, StartsTheConfiguredProgram) {
  sim::installWorkerStandin("/sim/opt/gen");
  sim::writeFile(configurationPath, "[apps]\nquor_usb_rx_generic = /sim/opt/gen\n");
  requestConfigReload();
  launchGeneric();
  EXPECT_EQ(nextStart().arguments.front(), "/sim/opt/gen");
}

TEST_F(LaunchOfAUsbDevice, IsRememberedWithItsTime) {
  const double before = timestampNow();
  launchGeneric();
  EXPECT_GE(ctrl_->lastGenericStart, before);
  EXPECT_LE(ctrl_->lastGenericStart, timestampNow());
}

TEST_F(LaunchOfAUsbDevice, IsShownWhileThereIsAControlClient) {
  launchGeneric();
  EXPECT_EQ(ctrl_.shown(), Lines{}) << "without one";
  connectClient();
  launchGeneric();
  EXPECT_EQ(ctrl_.shown(), Lines{unnamedAttached});
  device_.write("product", "Stick\n");
  launchGeneric();
  EXPECT_EQ(ctrl_.shown(), Lines{display::attached("Stick") + "\n"});
}

TEST_F(LaunchOfAUsbDevice, WhileAttachingIsBlockedHasATimeoutAndIsNeitherShownNorRemembered) {
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

TEST_F(Launch, OfDisksAndKeyboardsTakesNothingFromWhatIsOfGenericWorkers) {
  ctrl_->attachBlocked = true;
  ctrl_->inkey = "in";
  ctrl_->outkey = "out";
  launchScsi();
  EXPECT_EQ(nextStart().arguments, (WorkerArguments{"usb_rx_scsi", "eth1", "host", "5002", device_.path()}));
  launchKeyboard();
  EXPECT_EQ(nextStart().arguments, (WorkerArguments{"usb_rx_keyboard", "eth1", "host", "5001", "180", "96"}));
  EXPECT_EQ(ctrl_->lastGenericStart, 0.0);
  EXPECT_EQ(ctrl_.shown().size(), 2U);
}

TEST_F(Launch, RecordsTheWorkerUnderItsDevice) {
  launchGeneric();
  const pid_t pid = nextStart().pid;
  EXPECT_EQ(ctrl_->workers.byPid, (std::map<pid_t, std::string>{{pid, device_.path()}}));
  EXPECT_EQ(ctrl_->workers.byPath, (std::map<std::string, pid_t>{{device_.path(), pid}}));
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

TEST_F(Launch, PassesOnDebuggingToEachKindByItself) {
  using Switch = bool Settings::*;
  for (const Switch debugging : {&Settings::debugScsi, &Settings::debugKeyboard, &Settings::debugGeneric}) {
    settings = Settings();
    settings.*debugging = true;
    launchScsi();
    EXPECT_EQ(nextStart().arguments.at(1), settings.debugScsi ? "--debug" : "eth1");
    launchKeyboard();
    EXPECT_EQ(nextStart().arguments.at(1), settings.debugKeyboard ? "--debug" : "eth1");
    launchGeneric();
    EXPECT_EQ(nextStart().arguments.at(1), settings.debugGeneric ? "--debug" : "eth1");
  }
}

TEST_F(Launch, PassesOnWhereMessagesGo) {
  settings.debugScsi = true;
  for (const bool toSyslog : {true, false}) {
    settings.logToSyslog = toSyslog;
    launchScsi();
    EXPECT_EQ(nextStart().arguments.at(2), toSyslog ? "--syslog" : "--stderr");
  }
}

TEST_F(Launch, OfGenericWorkersAloneMakesThemEndWithTheDaemon) {
  launchGeneric();
  EXPECT_EQ(nextStart().parentDeathSignal, SIGTERM);
  launchScsi();
  EXPECT_EQ(nextStart().parentDeathSignal, 0);
  launchKeyboard();
  EXPECT_EQ(nextStart().parentDeathSignal, 0);
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
    EXPECT_EQ(board_.count(), 0U);
  });
}

TEST_F(Launch, GivesTheWorkerSignalsAsTheyUsuallyAre) {
  support::inChild([this] {
    ignoreBrokenPipes();
    installChildHandler();
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    launchGeneric();
    const sim::WorkerStart start = nextStart();
    EXPECT_EQ(start.ignoredSignals, std::set<int>{});
    EXPECT_EQ(start.blockedSignals, std::set<int>{});
    EXPECT_EQ(start.caughtSignals, std::set<int>{});
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
  support::inChildWithFailing({.number = SYS_clone, .error = EAGAIN}, [this] {
    EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([this] { launchGeneric(); }), "fork()");
    EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([this] { launchScsi(); }), "fork()");
    EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([this] { launchKeyboard(); }), "fork()");
    EXPECT_TRUE(ctrl_->workers.byPid.empty());
    EXPECT_TRUE(ctrl_->workers.byPath.empty());
    EXPECT_EQ(ctrl_.shown(), Lines{});
  });
}

}  // namespace
