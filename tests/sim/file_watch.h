#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace sim {

class WatchedFiles;

/**
 * Notices when something happens to a file or in a directory. Every wait of the process then asks its
 * condition again (waitUntil), so most users need no more than the object's being there.
 */
class FileWatch {
 public:
  /** `events` is a mask of IN_... values (inotify); `path` must exist. `happened` is called during waits. */
  FileWatch(
      const std::string& path, std::uint32_t events, std::function<void()> happened = [] {});
  ~FileWatch();
  FileWatch(const FileWatch&) = delete;
  FileWatch& operator=(const FileWatch&) = delete;

 private:
  friend class WatchedFiles;

  std::shared_ptr<WatchedFiles> files_;
  int number_;  ///< the system's number of the watched file
  std::function<void()> happened_;
};

}  // namespace sim
