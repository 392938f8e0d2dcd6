#pragma once

#include <string>
#include <vector>

namespace ulx {

/**
 * Where execvp looks for `program`, one path after another, each ended by a NUL: itself if it is empty or has a slash,
 * otherwise in each folder of PATH. An empty folder is the working directory, one of PATH_MAX bytes or more is passed
 * over; without PATH, "/bin:/usr/bin" holds.
 */
[[nodiscard]] std::string programCandidates(const std::string& program);

/**
 * A program and its arguments, ready to be executed where nothing may be allocated and nothing be thrown: in a child
 * that still shares its parent's memory.
 */
class ProgramCall {
 public:
  /** `arguments` begin with the program. They must outlive it. PATH is read now. */
  explicit ProgramCall(std::vector<std::string>& arguments);
  ProgramCall(const ProgramCall&) = delete;
  ProgramCall& operator=(const ProgramCall&) = delete;
  ~ProgramCall() = default;

  /**
   * What execvp does, with functions only that a signal handler may call: the first candidate that can be executed
   * replaces this process, by way of /bin/sh if it is a text without "#!". Returns when there is none.
   */
  void execute();

 private:
  [[nodiscard]] char** arguments() { return vector_.data() + 1; }
  void tryCandidate(char* path);

  std::string shell_ = "/bin/sh";
  std::string candidates_;
  std::vector<char*> vector_;  // the shell, the arguments, a null: what the shell takes, but for the script
};

}  // namespace ulx
