#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/temporary_directory.h"
#include "unit/config/lock_calls.h"

/** A configuration file in a directory of its own. */
class ConfigFile {
 public:
  explicit ConfigFile(const std::string& content, const std::string& name = "quor.conf")
      : path_(directory_ / name) {
    std::ofstream(path_) << content;
  }

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] const char* name() const { return path_.c_str(); }

  /** Puts a new file at the path, as one that is saved. */
  void replaceBy(const std::string& content) const {
    std::ofstream(path_ + ".new") << content;
    std::filesystem::rename(path_ + ".new", path_);
  }

 private:
  support::TemporaryDirectory directory_;
  std::string path_;
};

/** Holds a lock on a file, as another process does: locks belong to open files, and this opens one of its
 * own. */
class LockHolder {
 public:
  LockHolder(const std::string& path, int operation) : fd_(open(path.c_str(), O_RDONLY)) {
    library::flock.real(fd_, operation);
  }
  LockHolder(const LockHolder&) = delete;
  LockHolder& operator=(const LockHolder&) = delete;
  ~LockHolder() { close(fd_); }

  void release() const { library::flock.real(fd_, LOCK_UN); }

 private:
  int fd_;
};

/** Whether the lock `operation` on the file could be had now. */
inline bool couldLock(const std::string& path, int operation) {
  const int fd = open(path.c_str(), O_RDONLY);
  const bool could = library::flock.real(fd, operation | LOCK_NB) == 0;
  close(fd);
  return could;
}

/** The number that the next descriptor to be opened will have: it stays where nothing is left open. */
inline int nextDescriptor() {
  const int next = open("/dev/null", O_RDONLY);
  close(next);
  return next;
}
