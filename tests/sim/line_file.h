#pragma once

#include <string>
#include <vector>

#include "sim/file_watch.h"

namespace sim {

/** A text file to which another process appends; waits notice when it does. */
class LineFile {
 public:
  /** Makes the file, empty. */
  explicit LineFile(std::string path);

  /** The complete lines so far, without their ends. */
  const std::vector<std::string>& lines();
  /** Everything so far. */
  const std::string& text();

 private:
  void readAppended();

  std::string path_;
  FileWatch watch_;
  std::string text_;
  std::size_t splitUpTo_ = 0;
  std::vector<std::string> lines_;
};

}  // namespace sim
