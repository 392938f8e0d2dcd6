#include "support/ordinary_user.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "sim/error.h"

namespace support {
namespace {

constexpr uid_t nobody = 65534;
constexpr gid_t nogroup = 65534;

const std::array obstacles = {"", "this process cannot become an ordinary user's",
                              "the build folder is closed to ordinary users",
                              "ordinary users have no user namespaces"};

/** The number of the obstacle that this process meets as an ordinary user. */
unsigned char tryAsOrdinaryUser() {
  try {
    becomeOrdinaryUser();
  } catch (const sim::Error&) {
    return 1;
  }
  if (::access("/proc/self/exe", X_OK) != 0) {
    return 2;
  }
  return ::unshare(CLONE_NEWUSER) == 0 ? 0 : 3;
}

}  // namespace

std::optional<std::string> obstacleToOrdinaryUser() {
  const pid_t child = ::fork();
  if (child == 0) {
    ::_exit(tryAsOrdinaryUser());
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  const std::string obstacle = obstacles.at(static_cast<std::size_t>(WEXITSTATUS(status)));
  return obstacle.empty() ? std::nullopt : std::optional(obstacle);
}

void becomeOrdinaryUser() {
  if (::geteuid() != 0) {
    return;
  }
  if (::setresgid(nogroup, nogroup, nogroup) != 0 || ::setresuid(nobody, nobody, nobody) != 0) {
    throw sim::systemError("becoming an ordinary user");
  }
  // Else the files of this process in /proc belong to root, and no user namespace can be set up.
  ::prctl(PR_SET_DUMPABLE, 1);
}

}  // namespace support
