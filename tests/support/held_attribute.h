#pragma once

#include <string>

#include "sim/deadline.h"
#include "sim/descriptor.h"
#include "sim/file_watch.h"

namespace support {

/**
 * A file that holds up who reads it: the daemon has opened it and waits for its content until the test lets
 * it go on. All that the test does meanwhile happens at this very step of the daemon's work.
 */
class HeldAttribute {
 public:
  /** Takes the place of the file `path`, at one stroke; another held one there keeps its reader. */
  explicit HeldAttribute(const std::string& path);

  /** Waits until the daemon has opened it. */
  void waitForReader(const sim::Deadline& deadline = {});
  /** The reader gets these bytes (up to 64 KiB) and the end of the file. */
  void release(const std::string& content);

 private:
  std::string path_;
  sim::Descriptor writer_;
  bool isOpened_ = false;
  sim::FileWatch openings_;
};

}  // namespace support
