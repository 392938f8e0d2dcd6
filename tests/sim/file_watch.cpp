#include "sim/file_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <set>
#include <utility>
#include <vector>

#include "sim/descriptor.h"
#include "sim/error.h"
#include "sim/wait.h"

namespace sim {

/** All watches of the process: a user may have few inotify instances, and tests run many at a time. */
class WatchedFiles {
 public:
  /** The one that is in use, or a new one. */
  static std::shared_ptr<WatchedFiles> instance();

  WatchedFiles();
  [[nodiscard]] int add(const std::string& path, std::uint32_t events) const;
  void enlist(FileWatch* watch) { watches_.push_back(watch); }
  void remove(FileWatch* watch);

 private:
  void serve() const;
  void callWatchesOf(int number) const;

  Descriptor inotify_;
  std::vector<FileWatch*> watches_;
  Background source_;
};

std::shared_ptr<WatchedFiles> WatchedFiles::instance() {
  static std::weak_ptr<WatchedFiles> current;
  std::shared_ptr<WatchedFiles> files = current.lock();
  if (!files) {
    files = std::make_shared<WatchedFiles>();
    current = files;
  }
  return files;
}

WatchedFiles::WatchedFiles()
    : inotify_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)), source_(inotify_.get(), [this] { serve(); }) {
  if (!inotify_.isOpen()) {
    throw systemError("inotify_init1()");
  }
}

int WatchedFiles::add(const std::string& path, std::uint32_t events) const {
  // All watches of a file share one number.
  const int number = ::inotify_add_watch(inotify_.get(), path.c_str(), events | IN_MASK_ADD);
  if (number < 0) {
    throw systemError("inotify_add_watch(" + path + ")");
  }
  return number;
}

void WatchedFiles::remove(FileWatch* watch) {
  std::erase(watches_, watch);
  const bool stillWatched = std::any_of(watches_.begin(), watches_.end(), [watch](const FileWatch* other) {
    return other->number_ == watch->number_;
  });
  if (!stillWatched) {
    ::inotify_rm_watch(inotify_.get(), watch->number_);
  }
}

void WatchedFiles::serve() const {
  std::set<int> numbers;
  std::array<char, 4096> buffer{};
  for (ssize_t length = 0; (length = ::read(inotify_.get(), buffer.data(), buffer.size())) > 0;) {
    for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + at, sizeof event);
      numbers.insert(event.wd);
      at += sizeof event + event.len;
    }
  }
  std::for_each(numbers.begin(), numbers.end(), [this](int number) { callWatchesOf(number); });
}

void WatchedFiles::callWatchesOf(int number) const {
  const std::vector<FileWatch*> called = watches_;
  for (const FileWatch* watch : called) {
    // One that is called may remove another.
    const bool isThere = std::find(watches_.begin(), watches_.end(), watch) != watches_.end();
    if (isThere && watch->number_ == number) {
      watch->happened_();
    }
  }
}

FileWatch::FileWatch(const std::string& path, std::uint32_t events, std::function<void()> happened)
    : files_(WatchedFiles::instance()), number_(files_->add(path, events)), happened_(std::move(happened)) {
  files_->enlist(this);
}

FileWatch::~FileWatch() {
  files_->remove(this);
}

}  // namespace sim
