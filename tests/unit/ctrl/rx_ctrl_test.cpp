#include "ctrl/rx_ctrl.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "ctrl/configuration_keys.h"
#include "ctrl/device_classes.h"
#include "sim/descriptor.h"
#include "sim/files.h"
#include "support/child.h"
#include "support/control_client.h"
#include "support/descriptors.h"
#include "support/named_case.h"
#include "support/private_world.h"
#include "support/thrown.h"

namespace {

using Workers = std::map<pid_t, std::string>;

struct PeriodCase : support::NamedCase {
  const char* timeout;
  double period;
};

class RxCtrlRestartPeriod : public testing::TestWithParam<PeriodCase> {};

INSTANTIATE_TEST_SUITE_P(
    Of, RxCtrlRestartPeriod,
    testing::Values(PeriodCase{{"Ten"}, "10", 20.0}, PeriodCase{{"Fifteen"}, "15", 30.0},
                    PeriodCase{{"Zero"}, "0", 0.0}, PeriodCase{{"ANegativeNumber"}, "-3", -6.0},
                    PeriodCase{{"ANumberAndAWord"}, "7s", 14.0}, PeriodCase{{"AFraction"}, "10.9", 20.0},
                    PeriodCase{{"AHexadecimalNumber"}, "0x10", 0.0}, PeriodCase{{"TwoNumbers"}, "5 6", 10.0},
                    PeriodCase{{"ABlankAndANumber"}, " 12", 24.0}, PeriodCase{{"APlusSign"}, "\t\n+12", 24.0},
                    PeriodCase{{"Nothing"}, "", 0.0}, PeriodCase{{"AWord"}, "abc", 0.0},
                    PeriodCase{{"ABlank"}, " ", 0.0}, PeriodCase{{"ASignAlone"}, "-", 0.0},
                    PeriodCase{{"AWordAndANumber"}, "s7", 0.0},
                    // Doubled as numbers of 32 bits are; larger ones count as the largest.
                    PeriodCase{{"TheLargestHalf"}, "1073741823", 2147483646.0},
                    PeriodCase{{"MoreThanTheLargestHalf"}, "1073741824", -2147483648.0},
                    PeriodCase{{"TheLargest"}, "2147483647", -2.0},
                    PeriodCase{{"TheSmallest"}, "-2147483648", 0.0},
                    PeriodCase{{"MoreThanTheLargest"}, "3000000000", -2.0},
                    PeriodCase{{"MoreThan64Bits"}, "99999999999999999999", -2.0},
                    PeriodCase{{"LessThanTheSmallest"}, "-3000000000", 0.0}));

TEST_P(RxCtrlRestartPeriod, IsTwiceTheNumberAtTheStart) {
  EXPECT_EQ(restartPeriodOf(GetParam().timeout), GetParam().period);
}

class RxCtrlTest : public support::PrivateWorld {
 protected:
  /** The daemon's state as it is made of its arguments. */
  static std::unique_ptr<RxCtrl> makeCtrl(const std::string& timeout = "10") {
    return std::make_unique<RxCtrl>("host", 5000, "full", keyboardClass, "in", nullptr, timeout,
                                    "/sim/socket", "eth7");
  }
  /** What keeps it from being made. */
  static std::string failure() {
    return support::contextThrownBy([] { makeCtrl(); });
  }
  /** Starts a display that listens. */
  void startDisplay() {
    ASSERT_EQ(mkfifo("/dev/osd_fifo", 0600), 0);
    display_ = sim::Descriptor(open("/dev/osd_fifo", O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  }

  sim::Descriptor display_;
};

TEST_F(RxCtrlTest, HoldsWhatItIsGivenAndNothingElseYet) {
  const auto ctrl = makeCtrl("15");
  EXPECT_EQ(ctrl->hostname, "host");
  EXPECT_EQ(ctrl->port, 5000);
  EXPECT_EQ(ctrl->speed, "full");
  EXPECT_EQ(ctrl->classes, 1U);
  EXPECT_EQ(ctrl->inkey, "in");
  EXPECT_EQ(ctrl->outkey, std::nullopt);
  EXPECT_EQ(ctrl->socketPath, "/sim/socket");
  EXPECT_EQ(ctrl->interface, "eth7");
  EXPECT_EQ(ctrl->connectFailTimeoutText, "15");
  EXPECT_EQ(ctrl->restartPeriod, 30.0);
  EXPECT_EQ(ctrl->lastRequest, "");
  EXPECT_TRUE(ctrl->workers.byPid.empty());
  EXPECT_TRUE(ctrl->workers.byPath.empty());
  EXPECT_EQ(ctrl->controlConnection, nullptr);
  EXPECT_EQ(ctrl->restartCount, 0U);
  EXPECT_FALSE(ctrl->attachBlocked);
  EXPECT_EQ(ctrl->lastGenericStart, 0.0);
  EXPECT_TRUE(ctrl->waitingClients.empty());
  EXPECT_TRUE(ctrl->replacedConnections.empty());
}

TEST_F(RxCtrlTest, GivesNoneOfItsDescriptorsToWorkersAndReleasesThemAtItsEnd) {
  startDisplay();
  const auto before = support::openDescriptors();
  auto ctrl = makeCtrl();
  EXPECT_NO_THROW(support::ControlClient("/sim/socket"));
  EXPECT_TRUE(ctrl->osd.isOpen);
  for (const int fd : support::openDescriptors()) {
    EXPECT_TRUE(before.contains(fd) || support::isCloseOnExec(fd)) << "descriptor " << fd;
  }
  EXPECT_EQ(support::openDescriptors().size(), before.size() + 3) << "socket, uevents and display";
  ctrl.reset();
  EXPECT_EQ(support::openDescriptors(), before);
}

TEST_F(RxCtrlTest, HasNoDisplayWhereNoneWasThereAtItsStart) {
  const auto ctrl = makeCtrl();
  startDisplay();
  OsdMessage(ctrl->osd, "lost");
  char byte = 0;
  EXPECT_EQ(read(display_.get(), &byte, 1), 0);
}

TEST_F(RxCtrlTest, ReadsThePolicyAtItsStart) {
  sim::writeFile(configurationPath, "[usb]\nhid_only = 1\nisochronous_user_warning = 0\n");
  const auto ctrl = makeCtrl();
  EXPECT_TRUE(ctrl->policy.hidOnly);
  EXPECT_FALSE(ctrl->policy.blockMassStorage);
  EXPECT_FALSE(ctrl->policy.isochronousUserWarning);
}

// With so few descriptors left, the sockets and the display take them in their order.
TEST_F(RxCtrlTest, OpensTheControlSocketThenTheUeventSocketAndThenTheDisplayWithoutWhichItDoes) {
  startDisplay();
  support::inChild([] {
    const auto before = support::openDescriptors();
    support::limitFurtherDescriptors(1);
    EXPECT_EQ(failure(), "socket(PF_NETLINK)");
    EXPECT_TRUE(std::filesystem::exists("/sim/socket"));
    EXPECT_EQ(support::openDescriptors(), before);
  });
  support::inChild([] {
    support::limitFurtherDescriptors(2);
    EXPECT_FALSE(makeCtrl()->osd.isOpen);
  });
}

TEST_F(RxCtrlTest, FailsInAnUnwritableDirectoryBeforeTheUeventSocketIsMade) {
  std::filesystem::permissions("/sim",
                               std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
  support::inChild([] {
    support::dropPrivileges();
    support::limitFurtherDescriptors(1);
    EXPECT_EQ(failure(), "bind()");
  });
}

TEST_F(RxCtrlTest, RecordsItsWorkersAndLeavesThemRunningAtItsEnd) {
  auto ctrl = makeCtrl();
  const pid_t worker = fork();
  if (worker == 0) {
    pause();
    _exit(0);
  }
  ctrl->addWorker(10, "/sys/devices/a");
  ctrl->addWorker(worker, "/sys/devices/a");
  EXPECT_EQ(ctrl->workers.byPid, (Workers{{10, "/sys/devices/a"}, {worker, "/sys/devices/a"}}));
  EXPECT_EQ(ctrl->workers.byPath.at("/sys/devices/a"), worker);
  ctrl.reset();
  EXPECT_EQ(waitpid(worker, nullptr, WNOHANG), 0);
  kill(worker, SIGKILL);
  waitpid(worker, nullptr, 0);
}

}  // namespace
