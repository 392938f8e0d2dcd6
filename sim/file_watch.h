#pragma once

#include <cstdint>
#include <string>

#include "sim/deadline.h"
#include "sim/descriptor.h"

namespace sim {

/** Tells when something happens to a file or in a directory (inotify). */
class FileWatch {
 public:
  /** `events` is a mask of IN_... values; `path` must exist. */
  FileWatch(const std::string& path, std::uint32_t events);

  /** Readable when something has happened. */
  [[nodiscard]] int descriptor() const { return fd_.get(); }
  /** Forgets what has happened so far. */
  void clear();

 private:
  Descriptor fd_;
};

/** Waits until something named `path` exists; its directory must exist already. */
void waitUntilExists(const std::string& path, const Deadline& deadline = {});

}  // namespace sim
