#include "ctrl/rx_ctrl.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "sim/descriptor.h"
#include "sim/files.h"
#include "support/child.h"
#include "support/control_client.h"
#include "support/descriptors.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"

namespace {

constexpr const char* configPath = "/vel/quor.conf";
constexpr const char* displayPath = "/dev/osd_fifo";

using Workers = std::map<pid_t, std::string>;

// As the daemon makes it of its arguments.
std::unique_ptr<RxCtrl> makeCtrl(const std::string& socketPath, const std::string& timeout = "10") {
  return std::make_unique<RxCtrl>("host", 5000, "full", keyboardClass, "in", nullptr, timeout, socketPath,
                                  "eth7");
}

// A display that listens, in a private world.
sim::Descriptor startDisplay() {
  EXPECT_EQ(mkfifo(displayPath, 0600), 0);
  return sim::Descriptor(open(displayPath, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
}

TEST(RestartPeriod, IsTwiceTheTimeout) {
  EXPECT_EQ(restartPeriodOf("10"), 20.0);
  EXPECT_EQ(restartPeriodOf("15"), 30.0);
  EXPECT_EQ(restartPeriodOf("0"), 0.0);
  EXPECT_EQ(restartPeriodOf("-3"), -6.0);
}

TEST(RestartPeriod, IsOfTheNumberAtTheStartOfTheText) {
  EXPECT_EQ(restartPeriodOf("7s"), 14.0);
  EXPECT_EQ(restartPeriodOf("10.9"), 20.0);
  EXPECT_EQ(restartPeriodOf("0x10"), 0.0);
  EXPECT_EQ(restartPeriodOf("5 6"), 10.0);
}

TEST(RestartPeriod, MayHaveBlanksAndASignBeforeIt) {
  EXPECT_EQ(restartPeriodOf(" 12"), 24.0);
  EXPECT_EQ(restartPeriodOf("\t\n+12"), 24.0);
}

TEST(RestartPeriod, IsZeroOfATextWithoutANumber) {
  for (const char* text : {"", "abc", " ", "-", "s7"}) {
    EXPECT_EQ(restartPeriodOf(text), 0.0) << text;
  }
}

TEST(RestartPeriod, WrapsAsNumbersOf32BitsDo) {
  EXPECT_EQ(restartPeriodOf("1073741823"), 2147483646.0);
  EXPECT_EQ(restartPeriodOf("1073741824"), -2147483648.0);
  EXPECT_EQ(restartPeriodOf("2147483647"), -2.0);
  EXPECT_EQ(restartPeriodOf("-2147483648"), 0.0);
}

TEST(RestartPeriod, TakesALargerNumberForTheLargestOf32Bits) {
  EXPECT_EQ(restartPeriodOf("3000000000"), -2.0);
  EXPECT_EQ(restartPeriodOf("99999999999999999999"), -2.0);
  EXPECT_EQ(restartPeriodOf("-3000000000"), 0.0);
}

TEST(RxCtrl, HoldsWhatItIsGiven) {
  const support::TemporaryDirectory directory;
  const auto ctrl = makeCtrl(directory / "socket", "15");
  EXPECT_EQ(ctrl->hostname, "host");
  EXPECT_EQ(ctrl->port, 5000);
  EXPECT_EQ(ctrl->speed, "full");
  EXPECT_EQ(ctrl->classes, 1U);
  EXPECT_EQ(ctrl->inkey, "in");
  EXPECT_EQ(ctrl->outkey, std::nullopt);
  EXPECT_EQ(ctrl->socketPath, directory / "socket");
  EXPECT_EQ(ctrl->interface, "eth7");
  EXPECT_EQ(ctrl->connectFailTimeoutText, "15");
  EXPECT_EQ(ctrl->restartPeriod, 30.0);
}

TEST(RxCtrl, BeginsWithNobodyConnectedNoWorkersAndNoRestarts) {
  const support::TemporaryDirectory directory;
  const auto ctrl = makeCtrl(directory / "socket");
  EXPECT_EQ(ctrl->lastRequest, "");
  EXPECT_TRUE(ctrl->workers.byPid.empty());
  EXPECT_TRUE(ctrl->workers.byPath.empty());
  EXPECT_EQ(ctrl->controlConnection, nullptr);
  EXPECT_EQ(ctrl->restartCount, 0U);
  EXPECT_FALSE(ctrl->attachBlocked);
  EXPECT_EQ(ctrl->lastGenericStart, 0.0);
  EXPECT_TRUE(ctrl->waitingClients.empty());
}

TEST(RxCtrl, ListensAtItsControlSocket) {
  const support::TemporaryDirectory directory;
  const auto ctrl = makeCtrl(directory / "socket");
  EXPECT_NO_THROW(support::ControlClient(directory / "socket"));
}

TEST(RxCtrl, GivesNoneOfItsDescriptorsToWorkers) {
  support::inPrivateWorld([] {
    const sim::Descriptor display = startDisplay();
    const auto before = support::openDescriptors();
    const auto ctrl = makeCtrl("/sim/socket");
    for (const int fd : support::openDescriptors()) {
      EXPECT_TRUE(before.contains(fd) || support::isCloseOnExec(fd)) << "descriptor " << fd;
    }
    EXPECT_EQ(support::openDescriptors().size(), before.size() + 3) << "socket, uevents and display";
  });
}

TEST(RxCtrl, ReleasesItsDescriptorsAtItsEnd) {
  support::inPrivateWorld([] {
    const sim::Descriptor display = startDisplay();
    const auto before = support::openDescriptors();
    makeCtrl("/sim/socket").reset();
    EXPECT_EQ(support::openDescriptors(), before);
  });
}

TEST(RxCtrl, OpensTheDisplayThatIsThere) {
  support::inPrivateWorld([] {
    const sim::Descriptor display = startDisplay();
    const auto ctrl = makeCtrl("/sim/socket");
    EXPECT_TRUE(ctrl->osd.isOpen);
  });
}

TEST(RxCtrl, HasNoDisplayWhereNoneWasThereAtItsStart) {
  support::inPrivateWorld([] {
    const auto ctrl = makeCtrl("/sim/socket");
    const sim::Descriptor display = startDisplay();
    OsdMessage(ctrl->osd, "lost");
    char byte = 0;
    EXPECT_EQ(read(display.get(), &byte, 1), 0);
  });
}

TEST(RxCtrl, ReadsThePolicyAtItsStart) {
  support::inPrivateWorld([] {
    sim::writeFile(configPath, "[usb]\nhid_only = 1\nisochronous_user_warning = 0\n");
    const auto ctrl = makeCtrl("/sim/socket");
    EXPECT_TRUE(ctrl->policy.hidOnly);
    EXPECT_FALSE(ctrl->policy.blockMassStorage);
    EXPECT_FALSE(ctrl->policy.isochronousUserWarning);
  });
}

// With a single descriptor left, whichever socket comes first takes it.
TEST(RxCtrl, OpensTheControlSocketBeforeTheUeventSocket) {
  support::inChild([] {
    const support::TemporaryDirectory directory;
    support::limitFurtherDescriptors(1);
    EXPECT_EQ(support::contextThrownBy([&directory] { makeCtrl(directory / "socket"); }),
              "socket(PF_NETLINK)");
    EXPECT_TRUE(std::filesystem::exists(directory / "socket"));
  });
}

TEST(RxCtrl, FailsInAnUnwritableDirectoryBeforeTheUeventSocketIsMade) {
  support::inChild([] {
    const support::TemporaryDirectory directory;
    std::filesystem::permissions(directory.path(),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    support::dropPrivileges();
    support::limitFurtherDescriptors(1);
    EXPECT_EQ(support::contextThrownBy([&directory] { makeCtrl(directory / "socket"); }), "bind()");
    std::filesystem::permissions(directory.path(), std::filesystem::perms::owner_all);
  });
}

TEST(RxCtrl, OpensTheDisplayAfterBothSocketsAndDoesWithoutIt) {
  support::inPrivateWorld([] {
    const sim::Descriptor display = startDisplay();
    support::limitFurtherDescriptors(2);
    const auto ctrl = makeCtrl("/sim/socket");
    EXPECT_FALSE(ctrl->osd.isOpen);
  });
}

TEST(RxCtrl, ReleasesTheControlSocketWhenTheUeventSocketCannotBeMade) {
  support::inChild([] {
    const support::TemporaryDirectory directory;
    const auto before = support::openDescriptors();
    support::limitFurtherDescriptors(1);
    EXPECT_EQ(support::contextThrownBy([&directory] { makeCtrl(directory / "socket"); }),
              "socket(PF_NETLINK)");
    EXPECT_EQ(support::openDescriptors(), before);
  });
}

TEST(RxCtrl, RecordsAWorkerInItsTable) {
  const support::TemporaryDirectory directory;
  const auto ctrl = makeCtrl(directory / "socket");
  ctrl->addWorker(10, "/sys/devices/a");
  ctrl->addWorker(11, "/sys/devices/a");
  EXPECT_EQ(ctrl->workers.byPid, (Workers{{10, "/sys/devices/a"}, {11, "/sys/devices/a"}}));
  EXPECT_EQ(ctrl->workers.byPath.at("/sys/devices/a"), 11);
}

TEST(RxCtrl, LeavesItsWorkersRunningAtItsEnd) {
  const support::TemporaryDirectory directory;
  auto ctrl = makeCtrl(directory / "socket");
  const pid_t worker = fork();
  if (worker == 0) {
    pause();
    _exit(0);
  }
  ctrl->addWorker(worker, "/sys/devices/a");
  ctrl.reset();
  EXPECT_EQ(waitpid(worker, nullptr, WNOHANG), 0);
  kill(worker, SIGKILL);
  waitpid(worker, nullptr, 0);
}

}  // namespace
