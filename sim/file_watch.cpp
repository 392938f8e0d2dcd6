#include "sim/file_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include "sim/error.h"
#include "sim/wait.h"

namespace sim {

FileWatch::FileWatch(const std::string& path, std::uint32_t events)
    : fd_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  if (!fd_.isOpen()) {
    throw systemError("inotify_init1()");
  }
  if (::inotify_add_watch(fd_.get(), path.c_str(), events) < 0) {
    throw systemError("inotify_add_watch(" + path + ")");
  }
}

void FileWatch::clear() {
  std::array<char, 4096> events{};
  while (::read(fd_.get(), events.data(), events.size()) > 0) {
  }
}

void waitUntilExists(const std::string& path, const Deadline& deadline) {
  FileWatch watch(std::filesystem::path(path).parent_path(), IN_CREATE | IN_MOVED_TO);
  waitUntil(path + " to exist", deadline, watch.descriptor(), [&watch, &path] {
    watch.clear();
    return std::filesystem::exists(std::filesystem::symlink_status(path));
  });
}

}  // namespace sim
