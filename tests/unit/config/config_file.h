#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <utility>

#include "config/entries.h"
#include "config/load.h"
#include "support/temporary_directory.h"
#include "unit/config/library_calls.h"

/** A configuration file in a directory of its own. */
class ConfigFile {
 public:
  explicit ConfigFile(const std::string& content, const std::string& name = "quor.conf")
      : path_(directory_ / name) {
    std::ofstream(path_) << content;
  }

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] const char* name() const { return path_.c_str(); }
  [[nodiscard]] const std::string& directory() const { return directory_.path(); }

  /** Puts a new file at the path, as a save does. */
  void replaceBy(const std::string& content) const {
    std::ofstream(path_ + ".new") << content;
    std::filesystem::rename(path_ + ".new", path_);
  }

 private:
  support::TemporaryDirectory directory_;
  std::string path_;
};

struct FreeConfig {
  void operator()(ConfigDictionary* d) const { configFree(d); }
};
using Config = std::unique_ptr<ConfigDictionary, FreeConfig>;

inline Config load(const std::string& path) {
  return Config(configLoad(path.c_str()));
}

/** The dictionary of a file with this content. */
inline Config configOf(const std::string& content) {
  return load(ConfigFile(content).path());
}

/** The entries in their order: " section" for each section, " key=value" for each setting. */
inline std::string entriesOf(const Config& config) {
  std::string entries;
  forEachEntry(config.get(), [&entries](const char* key, const char* value) {
    entries.append(" ").append(key);
    if (value != nullptr) {
      entries.append("=").append(value);
    }
  });
  return entries;
}

/** Holds a lock on a file as another process does: locks belong to open files, and this is another one. */
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

/** Whether the lock `operation` on the file is free now. */
inline bool couldLock(const std::string& path, int operation) {
  const int fd = open(path.c_str(), O_RDONLY);
  const bool could = library::flock.real(fd, operation | LOCK_NB) == 0;
  close(fd);
  return could;
}

/**
 * Runs `action` in a thread, and `meanwhile` when it asks for its first lock. Returns the action's result.
 */
template <class Action, class Meanwhile>
auto whileItAsksForItsLock(Action action, Meanwhile meanwhile) {
  std::promise<void> asking;
  bool announced = false;
  const support::Replaced announcing(library::flock, [&](int fd, int operation) {
    if (!std::exchange(announced, true)) {
      asking.set_value();
    }
    return library::flock.real(fd, operation);
  });
  auto result = std::async(std::launch::async, action);
  asking.get_future().wait();
  meanwhile();
  return result.get();
}
