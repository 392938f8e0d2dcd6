#include "workers/worker_process.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <csignal>
#include <set>

#include "support/blocked_signals.h"
#include "support/child.h"
#include "support/launch_world.h"
#include "support/thrown.h"
#include "ulx/exceptions.h"

namespace {

using support::blockedSignals;

// Blocks a signal during a scope.
class BlockedSignal {
 public:
  explicit BlockedSignal(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    sigprocmask(SIG_BLOCK, &set, &formerMask_);
  }
  BlockedSignal(const BlockedSignal&) = delete;
  BlockedSignal& operator=(const BlockedSignal&) = delete;
  ~BlockedSignal() { sigprocmask(SIG_SETMASK, &formerMask_, nullptr); }

 private:
  sigset_t formerMask_{};
};

// The daemon blocks a signal, as the program that started it may have done.
class WorkerProcess : public support::LaunchWorld {
 protected:
  static pid_t create() {
    return createWorker(HeldSignals(), {"usb_rx_scsi", "eth1", "host", "5002", "/disk"}, Orphan::livesOn);
  }

 private:
  BlockedSignal blocked_{SIGUSR1};

 protected:
  const std::set<int> before = blockedSignals();
};

TEST_F(WorkerProcess, LeavesTheDaemonsSignalMaskAsItWas) {
  const pid_t worker = create();
  EXPECT_EQ(blockedSignals(), before);
  EXPECT_EQ(nextStart().pid, worker);
}

TEST_F(WorkerProcess, ThatCannotBeCreatedLeavesTheDaemonsSignalMaskAsItWas) {
  support::inChildWithFailing({.number = SYS_vfork, .error = EAGAIN}, [this] {
    EXPECT_EQ(support::contextThrownBy<ulx::WouldBlock>([] { create(); }), "fork()");
    EXPECT_EQ(blockedSignals(), before);
  });
}

TEST_F(WorkerProcess, BlocksNoSignalThoughTheDaemonDoes) {
  create();
  EXPECT_EQ(nextStart().blockedSignals, std::set<int>());
}

}  // namespace
