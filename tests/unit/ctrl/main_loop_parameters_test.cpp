#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "support/device_directory.h"
#include "support/test_ctrl.h"
#include "support/thrown.h"
#include "unit/ctrl/main_loop_world.h"

namespace {

using Lines = std::vector<std::string>;

// A worker that waits for the first of two signals and tells which it was. Of two that are pending, the lower
// number is taken first.
class Worker {
 public:
  Worker() : pid_(forkWaiting()) {}
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  ~Worker() {
    if (pid_ != -1) {
      (void)wasTerminated();
    }
  }

  [[nodiscard]] pid_t pid() const { return pid_; }
  // Whether it has been sent SIGTERM; it ends now if not.
  [[nodiscard]] bool wasTerminated() {
    int status = 0;
    kill(pid_, dismissal);
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) && WEXITSTATUS(status) == SIGTERM;
  }

 private:
  static constexpr int dismissal = SIGPWR;
  static_assert(SIGTERM < dismissal);

  // Both signals are blocked before the child is there, so none is lost.
  static pid_t forkWaiting() {
    sigset_t signals;
    sigset_t former;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, dismissal);
    sigprocmask(SIG_BLOCK, &signals, &former);
    const pid_t child = fork();
    if (child == 0) {
      int received = 0;
      sigwait(&signals, &received);
      _exit(received);
    }
    sigprocmask(SIG_SETMASK, &former, nullptr);
    return child;
  }

  pid_t pid_;
};

// The directory of a device that a worker serves.
class Device : public support::DeviceDirectory {
 public:
  Device(const std::string& product, const std::string& speed) {
    write("product", product + "\n");
    write("speed", speed + "\n");
  }
};

TEST(MainLoopParameters, NewParametersAnnounceEachWorkersDeviceInTheOrderOfProcessIds) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    const Device stick("Stick", "480");
    const Device pen("Pen", "12");
    ctrl->addWorker(300, stick.path());
    ctrl->addWorker(20, pen.path());
    ctrl->addWorker(1000, "/sys/devices/gone");
    deliverParameters(*ctrl, "host 5000 high eth1 in out");
    ctrl->run();
    EXPECT_EQ(ctrl.shown(), (Lines{"Pen attached\n", "Stick attached\n", "un-named device attached\n"}));
  });
}

TEST(MainLoopParameters, AQueryAnnouncesNothing) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    const Device stick("Stick", "480");
    ctrl->addWorker(300, stick.path());
    const support::ControlClient asking(ctrl->socketPath);
    asking.send("?");
    endAtOnce(*ctrl);
    ctrl->run();
    EXPECT_EQ(ctrl.shown(), Lines{});
  });
}

TEST(MainLoopParameters, WhenTheLinkFallsToFullSpeedWorkersOfHighSpeedDevicesAreTerminated) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    const Device stick("Stick", "480");
    const Device pen("Pen", "12");
    Worker fast;
    Worker slow;
    ctrl->addWorker(fast.pid(), stick.path());
    ctrl->addWorker(slow.pid(), pen.path());
    deliverParameters(*ctrl, "host 5000 full eth1 in out");
    ctrl->run();
    EXPECT_EQ(ctrl.shown(), Lines{"Pen attached\n"});
    EXPECT_TRUE(fast.wasTerminated());
    EXPECT_FALSE(slow.wasTerminated());
  });
}

TEST(MainLoopParameters, AFullSpeedLinkThatStaysSoTerminatesNoWorker) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    ctrl->speed = "full";
    const Device stick("Stick", "480");
    Worker fast;
    ctrl->addWorker(fast.pid(), stick.path());
    deliverParameters(*ctrl, "host 5000 full eth1 in out");
    ctrl->run();
    EXPECT_EQ(ctrl.shown(), Lines{"Stick attached\n"});
    EXPECT_FALSE(fast.wasTerminated());
  });
}

TEST(MainLoopParameters, AnyOtherChangeOfSpeedTerminatesNoWorker) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    ctrl->speed = "full";
    const Device stick("Stick", "480");
    Worker fast;
    ctrl->addWorker(fast.pid(), stick.path());
    deliverParameters(*ctrl, "host 5000 Full eth1 in out");
    ctrl->run();
    EXPECT_EQ(ctrl.shown(), Lines{"Stick attached\n"});
    EXPECT_FALSE(fast.wasTerminated());
  });
}

TEST(MainLoopParameters, IsLeftWhenTheSpeedOfAWorkersDeviceCannotBeRead) {
  inUnitWithoutDevices([] {
    support::TestCtrl ctrl;
    ctrl->addWorker(300, "/sys/devices/gone");
    deliverParameters(*ctrl, "host 5000 full eth1 in out");
    EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>([&ctrl] { ctrl->run(); }),
              "open(\"/sys/devices/gone/speed\")");
  });
}

}  // namespace
