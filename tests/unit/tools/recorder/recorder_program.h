#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "sim/deadline.h"
#include "sim/line_file.h"
#include "sim/process.h"
#include "sim/process_handle.h"

/** The built recorder, run by a person who reads its output. Works inside a sim::Unit. */
class RecorderProgram {
 public:
  explicit RecorderProgram(const std::vector<std::string>& arguments);
  /** Kills it when it still runs. */
  ~RecorderProgram();
  RecorderProgram(const RecorderProgram&) = delete;
  RecorderProgram& operator=(const RecorderProgram&) = delete;

  /** Waits for this line on standard error. Throws sim::TimedOut. */
  void waitForLine(const std::string& line, const sim::Deadline& deadline = {});
  [[nodiscard]] sim::ProcessEnd waitForEnd();
  [[nodiscard]] static std::string standardOutput();
  [[nodiscard]] std::string standardError() { return standardError_.text(); }

 private:
  sim::LineFile standardError_;
  pid_t pid_;
  sim::ProcessHandle handle_;
};
