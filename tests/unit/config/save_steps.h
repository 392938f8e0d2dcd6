#pragma once

#include <sys/file.h>
#include <sys/stat.h>

#include <functional>
#include <string>
#include <utility>

#include "support/replaceable_call.h"
#include "unit/config/lock_calls.h"
#include "unit/config/save_calls.h"

/** The name of a step of a save that synchronises `fd`. */
inline const char* nameOfFsync(int fd) {
  struct stat status {};
  fstat(fd, &status);
  return S_ISDIR(status.st_mode) ? "fsync directory" : "fsync file";
}

/** The name of a step of a save that locks or unlocks. */
inline const char* nameOfLock(int operation) {
  return operation == LOCK_EX ? "lock" : operation == LOCK_UN ? "unlock" : "another lock";
}

/**
 * Calls `before(step)` and `after(step)` around each step of the saves of a scope: "lock", "fsync file",
 * "rename", "sync", "fsync directory", "unlock". The steps are taken, except that "sync" leaves the machine's
 * other files alone.
 */
class SaveSteps {
 public:
  using Step = std::function<void(const std::string& step)>;

  SaveSteps(Step before, Step after) : before_(std::move(before)), after_(std::move(after)) {}

 private:
  int around(const std::string& step, const std::function<int()>& call) const {
    before_(step);
    const int result = call();
    after_(step);
    return result;
  }

  Step before_;
  Step after_;
  support::Replaced<int(int, int)> lock_{
      library::flock, [this](int fd, int operation) {
        return around(nameOfLock(operation), [fd, operation] { return library::flock.real(fd, operation); });
      }};
  support::Replaced<int(int)> fsync_{
      library::fsync,
      [this](int fd) { return around(nameOfFsync(fd), [fd] { return library::fsync.real(fd); }); }};
  support::Replaced<int(const char*, const char*)> rename_{
      library::rename, [this](const char* from, const char* to) {
        return around("rename", [from, to] { return library::rename.real(from, to); });
      }};
  support::Replaced<void()> sync_{library::sync, [this] { around("sync", [] { return 0; }); }};
};
