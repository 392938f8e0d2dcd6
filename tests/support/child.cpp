#include "support/child.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <system_error>

#include "sim/namespaces.h"
#include "ulx/exceptions.h"

namespace support {
namespace {

enum ChildStatus { succeeded = 0, failed = 1, skipped = 2 };

void runReporting(const std::function<void()>& body) {
  try {
    body();
  } catch (const ulx::Exception& e) {
    ADD_FAILURE() << "thrown in the child: " << e.text();
  } catch (const std::exception& e) {
    ADD_FAILURE() << "thrown in the child: " << e.what();
  } catch (const char* text) {
    ADD_FAILURE() << "thrown in the child: " << text;
  }
}

// What runs at exit, a check for leaks above all, needs descriptors though the body has limited them.
void allowDescriptors() {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

// It leaves through exit: only so leaks and coverage of the child are seen.
[[noreturn]] void becomeChild(const std::function<void()>& body) {
  runReporting(body);
  allowDescriptors();
  if (testing::Test::HasFailure()) {
    std::exit(failed);
  }
  std::exit(testing::Test::IsSkipped() ? skipped : succeeded);
}

int statusOf(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
  }
  return status;
}

}  // namespace

void inChild(const std::function<void()>& body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  ASSERT_NE(child, -1) << "fork: " << std::generic_category().message(errno);
  if (child == 0) {
    becomeChild(body);
  }
  const int status = statusOf(child);
  ASSERT_TRUE(WIFEXITED(status)) << "the child was ended by signal " << WTERMSIG(status);
  if (WEXITSTATUS(status) == skipped) {
    GTEST_SKIP() << "the child says why";
  }
  ASSERT_EQ(WEXITSTATUS(status), succeeded) << "the child says why";
}

void inPrivateWorld(const std::function<void()>& body) {
  inChild([&body] {
    const sim::Namespaces world;
    body();
  });
}

void inChildWithFailing(const FailingCall& call, const std::function<void()>& body) {
  inChild([&] {
    if (!failSystemCall(call)) {
      GTEST_SKIP() << "no filter can make this call fail here";
    }
    body();
  });
}

void dropPrivileges() {
  __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
  const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none{};
  if (syscall(SYS_capset, &header, none.data()) == -1) {
    throw std::system_error(errno, std::generic_category(), "capset");
  }
}

}  // namespace support
