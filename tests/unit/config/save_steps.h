#pragma once

#include <sys/file.h>
#include <sys/stat.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/replaceable_call.h"
#include "unit/config/library_calls.h"

/** The name of a step of a save that synchronises `fd`. */
inline std::string nameOfFsync(int fd) {
  struct stat status {};
  fstat(fd, &status);
  return S_ISDIR(status.st_mode) ? "fsync directory" : "fsync file";
}

/** The name of a step of a save that locks or unlocks. */
inline std::string nameOfLock(int operation) {
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

  explicit SaveSteps(
      Step before, Step after = [](const std::string&) {})
      : before_(std::move(before)), after_(std::move(after)) {}

 private:
  int around(const std::string& step, const std::function<int()>& call) const {
    before_(step);
    const int result = call();
    after_(step);
    return result;
  }

  Step before_;
  Step after_;
  support::Replaced<int(int, int)> lock_{library::flock, [this](int fd, int operation) {
                                           return around(nameOfLock(operation),
                                                         [=] { return library::flock.real(fd, operation); });
                                         }};
  support::Replaced<int(int)> fsync_{
      library::fsync,
      [this](int fd) { return around(nameOfFsync(fd), [=] { return library::fsync.real(fd); }); }};
  support::Replaced<int(const char*, const char*)> rename_{
      library::rename, [this](const char* from, const char* to) {
        return around("rename", [=] { return library::rename.real(from, to); });
      }};
  support::Replaced<void()> sync_{library::sync, [this] { around("sync", [] { return 0; }); }};
};

/** Records the steps of the saves of a scope. */
class RecordedSaveSteps {
 public:
  [[nodiscard]] const std::vector<std::string>& steps() const { return steps_; }

 private:
  std::vector<std::string> steps_;
  SaveSteps recording_{[this](const std::string& step) { steps_.push_back(step); }};
};

/** During a scope, the process has the number 54321, and its temporary files are named by it. */
class KnownProcess {
 public:
  explicit KnownProcess(pid_t number = 54321) : getpid_(library::getpid, [number] { return number; }) {}

 private:
  support::Replaced<pid_t()> getpid_;
};
