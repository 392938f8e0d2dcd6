// The daemon with the system calls of Linux 2.6.32 only. scripts/test-old-kernel runs all other tests so, too.

#include "sim/old_kernel.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "sim/files.h"
#include "support/child.h"
#include "system/support/attached_devices.h"
#include "system/support/daemon_fixture.h"

namespace {

/** The error of a system call whose arguments make no sense to any. */
int errorOf(long number) {
  constexpr long nonsense = -1;
  return ::syscall(number, nonsense, nonsense, nonsense, nonsense, nonsense, nonsense) == -1 ? errno : 0;
}

TEST(OldKernel, HasNoCallThatCameLater) {
  support::inChild([] {
    ASSERT_TRUE(sim::limitSystemCallsToLinux2632());
    for (const long number : {SYS_recvmmsg, SYS_prlimit64, SYS_getrandom, SYS_memfd_create, SYS_statx,
                              SYS_close_range, SYS_faccessat2}) {
      EXPECT_EQ(errorOf(number), ENOSYS) << number;
    }
  });
}

TEST(OldKernel, HasItsLastCalls) {
  support::inChild([] {
    ASSERT_TRUE(sim::limitSystemCallsToLinux2632());
    for (const long number : {SYS_dup3, SYS_inotify_init1, SYS_preadv, SYS_pwritev, SYS_rt_tgsigqueueinfo}) {
      EXPECT_NE(errorOf(number), ENOSYS) << number;
    }
  });
}

class OldKernelForTheDaemon : public support::DaemonFixture {
 protected:
  OldKernelForTheDaemon() {
    const char* prefix = std::getenv("SIM_PROGRAM_PREFIX");
    ::setenv("SIM_PROGRAM_PREFIX",
             (SIM_OLD_KERNEL " " + std::string(prefix == nullptr ? "" : prefix)).c_str(), 1);
  }
};

TEST_F(OldKernelForTheDaemon, IsEnough) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer makes newer calls";
#endif
  const sim::Daemon& daemon = start();
  const std::string status = sim::readFile("/proc/" + std::to_string(daemon.pid()) + "/status");
  EXPECT_NE(status.find("\nSeccomp:\t2\n"), std::string::npos) << "the daemon runs without the filter";
  detachAndEnd(attach(support::scanner()));
}

}  // namespace
