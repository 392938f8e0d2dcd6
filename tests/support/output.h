#pragma once

#include <functional>
#include <string>
#include <vector>

namespace support {

using Lines = std::vector<std::string>;

/** A pipe that keeps writes of up to 4096 bytes apart, so that a test sees where each one ended. */
class PacketPipe {
 public:
  PacketPipe();
  PacketPipe(const PacketPipe&) = delete;
  PacketPipe& operator=(const PacketPipe&) = delete;
  ~PacketPipe();

  /** Reads of it do not wait. */
  [[nodiscard]] int readEnd() const { return readEnd_; }
  [[nodiscard]] int writeEnd() const { return writeEnd_; }
  /** Gives the write end away: the caller closes it. */
  [[nodiscard]] int releaseWriteEnd();
  /** From now on nobody reads what is written. */
  void closeReadEnd();

  /** What has been written since the last call, one element for each write. Does not wait. */
  [[nodiscard]] Lines writes() const;

 private:
  int readEnd_ = -1;
  int writeEnd_ = -1;
};

/** Replaces standard error by the open file of `fd`, during a scope. */
class ReplacedStandardError {
 public:
  explicit ReplacedStandardError(int fd);
  ReplacedStandardError(const ReplacedStandardError&) = delete;
  ReplacedStandardError& operator=(const ReplacedStandardError&) = delete;
  ~ReplacedStandardError();

 private:
  int saved_;
};

/** Takes what the process writes to standard error during a scope. */
class CapturedStandardError {
 public:
  CapturedStandardError() : replaced_(pipe_.writeEnd()) {}

  [[nodiscard]] Lines writes() const { return pipe_.writes(); }
  /** The writes, each less the time at its start ("12.345: ") and the newline at its end. */
  [[nodiscard]] Lines messages() const;

 private:
  PacketPipe pipe_;
  ReplacedStandardError replaced_;
};

/** The messages on standard error while `action` runs, up to 250 of them; the second switches debugging on. */
[[nodiscard]] Lines logDuring(const std::function<void()>& action);
[[nodiscard]] Lines debugLogDuring(const std::function<void()>& action);

/** The daemon's debug messages with these texts. */
[[nodiscard]] Lines tagged(Lines texts);

}  // namespace support
